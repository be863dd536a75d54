// Discovery: search, then describe and probe each TV that answered.
#include "DiscoverCommand.h"

#include <net/if.h>
#include <unistd.h>

#include <algorithm>
#include <tuple>

#include <glib.h>

#include "DeviceDescription.h"
#include "JsonValue.h"
#include "SsdpSearch.h"
#include "TcpConnect.h"
#include "TvBatch.h"

using common::json::JsonType;
using common::json::JsonValue;

DiscoverCommand::DiscoverCommand(const CommandLine& commandLine) : m_commandLine(commandLine) {}

bool DiscoverCommand::find(std::vector<TvTarget>& tvs, Outcome& failure) const {
    const std::string& interface = m_commandLine.interface;
    if (!interface.empty() && if_nametoindex(interface.c_str()) == 0) {
        failure = {ExitCode::Usage,
                   "There is no network interface '" + interface + "'; ip link lists them.", ""};
        return false;
    }
    SsdpSearch search(kDeviceType, interface, m_commandLine.timeout);
    std::string error;
    if (!search.run(error)) {
        failure = {ExitCode::Failure, "Cannot search the network: " + error + ".", ""};
        return false;
    }
    const std::vector<SsdpSearch::Device>& devices = search.devices();
    tvs.assign(devices.size(), TvTarget());
    TvBatch::forEach(devices.size(), kParallel, [&](size_t i) {
        TvTarget& tv = tvs[i];
        tv.udn = devices[i].udn;
        tv.location = devices[i].location;
        GUri* uri = g_uri_parse(tv.location.c_str(), G_URI_FLAGS_NONE, nullptr);
        tv.address = uri != nullptr && g_uri_get_host(uri) != nullptr ? g_uri_get_host(uri) : "";
        if (uri != nullptr) {
            g_uri_unref(uri);
        }
        DeviceDescription description;
        std::string reason;
        if (DeviceDescription::fetch(tv.location, kFetchTimeout, description, reason)) {
            tv.name = description.friendlyName;
            tv.model = description.modelName;
        }
        tv.port = tv.address.empty() ? 0 : probe(tv.address);
        tv.mac = neighbourMac(tv.address);  // known once the probe or the fetch has talked to it
    });
    // Answers arrive in any order; a listing that does not change between runs is easier to read.
    std::sort(tvs.begin(), tvs.end(), [](const TvTarget& a, const TvTarget& b) {
        return std::tie(a.name, a.address, a.udn) < std::tie(b.name, b.address, b.udn);
    });
    return true;
}

Outcome DiscoverCommand::run() {
    std::vector<TvTarget> tvs;
    Outcome outcome;
    if (!find(tvs, outcome)) {
        return outcome;
    }
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

unsigned short DiscoverCommand::probe(const std::string& address) const {
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

std::string DiscoverCommand::neighbourMac(const std::string& address, const std::string& table) {
    g_autofree gchar* text = nullptr;
    if (address.empty() || !g_file_get_contents(table.c_str(), &text, nullptr, nullptr)) {
        return "";
    }
    // "IP address  HW type  Flags  HW address  Mask  Device", one line per neighbour.
    gchar** lines = g_strsplit(text, "\n", -1);
    std::string mac;
    // The first line is the header; an empty file has none.
    for (gchar** line = lines[0] == nullptr ? lines : lines + 1; *line != nullptr && mac.empty();
         ++line) {
        gchar** fields = g_strsplit_set(*line, " \t", -1);
        std::vector<std::string> words;
        for (gchar** field = fields; *field != nullptr; ++field) {
            if (**field != '\0') {
                words.push_back(*field);
            }
        }
        g_strfreev(fields);
        // Flags 0x0: an entry still being resolved or failed, without a usable address.
        if (words.size() >= 4 && words[0] == address && words[2] != "0x0") {
            mac = words[3];
        }
    }
    g_strfreev(lines);
    return mac;
}

std::string DiscoverCommand::_table(const std::vector<TvTarget>& tvs) const {
    std::vector<std::vector<std::string>> rows = {{"NAME", "ADDRESS", "MAC", "PORT", "MODEL"}};
    for (const TvTarget& tv : tvs) {
        auto orDash = [](const std::string& text) { return text.empty() ? "-" : text; };
        rows.push_back({orDash(tv.name), orDash(tv.address), orDash(tv.mac),
                        tv.port == 0 ? "-" : std::to_string(tv.port), orDash(tv.model)});
    }
    if (rows.size() == 1) {
        return "";
    }
    std::vector<size_t> widths(rows[0].size(), 0);
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

std::string DiscoverCommand::_json(const std::vector<TvTarget>& tvs) const {
    JsonValue list(JsonType::arrayValue);
    for (const TvTarget& tv : tvs) {
        JsonValue entry(JsonType::objectValue);
        entry["name"] = tv.name;
        entry["address"] = tv.address;
        entry["port"] = tv.port == 0 ? JsonValue() : JsonValue(tv.port);
        entry["model"] = tv.model;
        entry["mac"] = tv.mac.empty() ? JsonValue() : JsonValue(tv.mac);
        entry["udn"] = tv.udn;
        entry["location"] = tv.location;
        list.append(entry);
    }
    return list.toString();
}
