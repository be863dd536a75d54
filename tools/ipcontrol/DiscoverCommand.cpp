// Discovery: search, then describe and probe each TV that answered.
#include "DiscoverCommand.h"

#include <net/if.h>
#include <unistd.h>

#include <algorithm>

#include <glib.h>

#include "DeviceDescription.h"
#include "JsonValue.h"
#include "SsdpSearch.h"
#include "TcpConnect.h"

using common::json::JsonType;
using common::json::JsonValue;

DiscoverCommand::DiscoverCommand(const CommandLine& commandLine) : m_commandLine(commandLine) {}

Outcome DiscoverCommand::run() {
    const std::string& interface = m_commandLine.interface;
    if (!interface.empty() && if_nametoindex(interface.c_str()) == 0) {
        return {ExitCode::Usage,
                "There is no network interface '" + interface + "'; ip link lists them.", ""};
    }
    SsdpSearch search(kDeviceType, interface, m_commandLine.timeout);
    std::string error;
    if (!search.run(error)) {
        return {ExitCode::Failure, "Cannot search the network: " + error + ".", ""};
    }
    std::vector<Tv> tvs;
    for (const SsdpSearch::Device& device : search.devices()) {
        Tv tv;
        tv.udn = device.udn;
        tv.location = device.location;
        GUri* uri = g_uri_parse(device.location.c_str(), G_URI_FLAGS_NONE, nullptr);
        tv.address = uri != nullptr && g_uri_get_host(uri) != nullptr ? g_uri_get_host(uri) : "";
        if (uri != nullptr) {
            g_uri_unref(uri);
        }
        DeviceDescription description;
        if (DeviceDescription::fetch(device.location, kFetchTimeout, description, error)) {
            tv.name = description.friendlyName;
            tv.model = description.modelName;
        }
        tv.port = tv.address.empty() ? 0 : _probe(tv.address);
        tvs.push_back(tv);
    }
    Outcome outcome;
    outcome.output = m_commandLine.json ? _json(tvs) : _table(tvs);
    if (tvs.empty()) {
        const double seconds = static_cast<double>(m_commandLine.timeout.count()) / 1000;
        char waited[32];
        g_snprintf(waited, sizeof waited, "%g", seconds);
        outcome.code = ExitCode::NothingFound;
        outcome.sentence = std::string("No TV answered within ") + waited +
                           " s; check that it is on and on this network, or try a longer "
                           "--timeout.";
    }
    return outcome;
}

int DiscoverCommand::_probe(const std::string& address) const {
    // The port follows the model year, which the description does not tell.
    const std::vector<unsigned short> ports = m_commandLine.portGiven
                                                  ? std::vector<unsigned short>{m_commandLine.port}
                                                  : std::vector<unsigned short>{1516, 1515};
    for (unsigned short port : ports) {
        std::string reason;
        int fd = connectWithin(address, port, kProbeTimeout, reason);
        if (fd >= 0) {
            close(fd);
            return port;
        }
    }
    return 0;
}

std::string DiscoverCommand::_table(const std::vector<Tv>& tvs) const {
    std::vector<std::vector<std::string>> rows = {{"NAME", "ADDRESS", "PORT", "MODEL"}};
    for (const Tv& tv : tvs) {
        auto orDash = [](const std::string& text) { return text.empty() ? "-" : text; };
        rows.push_back({orDash(tv.name), orDash(tv.address),
                        tv.port == 0 ? "-" : std::to_string(tv.port), orDash(tv.model)});
    }
    if (rows.size() == 1) {
        return "";
    }
    std::vector<size_t> widths(4, 0);
    for (const auto& row : rows) {
        for (size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    std::string text;
    for (const auto& row : rows) {
        for (size_t column = 0; column + 1 < row.size(); ++column) {
            text += row[column] + std::string(widths[column] + 2 - row[column].size(), ' ');
        }
        text += row.back() + "\n";
    }
    return text;
}

std::string DiscoverCommand::_json(const std::vector<Tv>& tvs) const {
    JsonValue list(JsonType::arrayValue);
    for (const Tv& tv : tvs) {
        JsonValue entry(JsonType::objectValue);
        entry["name"] = tv.name;
        entry["address"] = tv.address;
        entry["port"] = tv.port == 0 ? JsonValue() : JsonValue(tv.port);
        entry["model"] = tv.model;
        entry["udn"] = tv.udn;
        entry["location"] = tv.location;
        list.append(entry);
    }
    return list.toString();
}
