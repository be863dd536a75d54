// Command line and configuration file of ipcontrold.
#include "HostOptions.h"

#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>

#include <glib.h>

#include "ConfigFile.h"

std::string hostExecutableDir() {
    g_autofree gchar* exe = g_file_read_link("/proc/self/exe", nullptr);
    if (exe == nullptr) {
        return ".";
    }
    g_autofree gchar* dir = g_path_get_dirname(exe);
    return dir;
}

namespace {

// The settings a configuration file may hold, each named like its command-line option.
enum Key {
    DataDir,
    Profile,
    Port,
    AdminPort,
    Approval,
    Upnp,
    UpnpPort,
    LogLevel,
    Security,
    KeyCount
};
const char* const kKeyNames[KeyCount] = {"data-dir",   "profile",   "port",
                                         "admin-port", "approval",  "upnp",
                                         "upnp-port",  "log-level", "security"};

std::string takeString(gchar* text) {
    std::string result = text != nullptr ? text : "";
    g_free(text);
    return result;
}

// One setting's text and where it came from, for messages: "--port" or "FILE:LINE: port".
struct Value {
    std::string text;
    std::string origin;
    bool present = false;
};

bool parsePort(const Value& value, bool allowZero, int& out, std::string& message) {
    gint64 number = 0;
    if (!g_ascii_string_to_signed(value.text.c_str(), 10, allowZero ? 0 : 1, 65535, &number,
                                  nullptr)) {
        message = value.origin + " must be a TCP port from " + (allowZero ? "0" : "1") +
                  " to 65535, got '" + value.text + "'";
        return false;
    }
    out = static_cast<int>(number);
    return true;
}

bool parseLogLevel(const std::string& text, log_priority& out) {
    static const struct {
        const char* name;
        log_priority level;
    } kLevels[] = {{"debug", DLOG_DEBUG}, {"info", DLOG_INFO},     {"warn", DLOG_WARN},
                   {"error", DLOG_ERROR}, {"silent", DLOG_SILENT}, {"3", DLOG_DEBUG},
                   {"4", DLOG_INFO},      {"5", DLOG_WARN},        {"6", DLOG_ERROR}};
    for (const auto& level : kLevels) {
        if (text == level.name) {
            out = level.level;
            return true;
        }
    }
    return false;
}

bool parseSwitch(const Value& value, bool& out, std::string& message) {
    for (const char* on : {"yes", "true", "on", "1"}) {
        if (value.text == on) {
            out = true;
            return true;
        }
    }
    for (const char* off : {"no", "false", "off", "0"}) {
        if (value.text == off) {
            out = false;
            return true;
        }
    }
    message = value.origin + " must be yes or no, got '" + value.text + "'";
    return false;
}

// Checks every present value and writes it into options; message names the first bad one.
bool applyValues(const Value (&values)[KeyCount], HostOptions& options, std::string& message) {
    ipc_platform::Options& platform = options.platform;
    int number = 0;
    if (values[Port].present) {
        if (!parsePort(values[Port], true, number, message)) {
            return false;
        }
        platform.port = number;
    }
    if (values[AdminPort].present) {
        if (!parsePort(values[AdminPort], true, number, message)) {
            return false;
        }
        platform.adminPort = static_cast<unsigned short>(number);
    }
    if (values[UpnpPort].present) {
        if (!parsePort(values[UpnpPort], true, platform.upnpPort, message)) {
            return false;
        }
    }
    if (values[Upnp].present && !parseSwitch(values[Upnp], platform.upnpEnabled, message)) {
        return false;
    }
    if (values[LogLevel].present && !parseLogLevel(values[LogLevel].text, options.logLevel)) {
        message = values[LogLevel].origin + " must be debug, info, warn, error or silent, got '" +
                  values[LogLevel].text + "'";
        return false;
    }
    if (values[Approval].present) {
        const std::string& mode = values[Approval].text;
        if (mode != "screen" && mode != "allow" && mode != "deny" && mode != "ignore") {
            message = values[Approval].origin + " must be screen, allow, deny or ignore, got '" +
                      mode + "'";
            return false;
        }
        platform.approval = mode;
    }
    if (values[Security].present) {
        const std::string& mode = values[Security].text;
        if (mode != "default" && mode != "hardened") {
            message = values[Security].origin + " must be default or hardened, got '" + mode + "'";
            return false;
        }
        platform.hardenedSecurity = mode == "hardened";
    }
    for (Key key : {DataDir, Profile}) {
        if (values[key].present && values[key].text.empty()) {
            message = values[key].origin + " must not be empty";
            return false;
        }
    }
    if (values[Profile].present) {
        platform.profile = values[Profile].text;
    }
    if (values[DataDir].present) {
        platform.dataDir = values[DataDir].text;
    }
    return true;
}

}  // namespace

ParseResult parseHostOptions(int argc, char** argv, HostOptions& options, std::string& message) {
    gchar* flags[KeyCount] = {};
    gchar* config = nullptr;
    gboolean noUpnp = FALSE;
    gboolean version = FALSE;
    GOptionEntry entries[] = {
        {"config", 0, 0, G_OPTION_ARG_FILENAME, &config,
         "Read settings from FILE first; options given here override it", "FILE"},
        {"data-dir", 0, 0, G_OPTION_ARG_FILENAME, &flags[DataDir],
         "Folder for settings, tokens and TV state (created if missing)", "DIR"},
        {"profile", 0, 0, G_OPTION_ARG_STRING, &flags[Profile],
         "Product profile: a name under the profiles folder or a JSON file (default tv-2023)",
         "NAME|FILE"},
        {"port", 0, 0, G_OPTION_ARG_STRING, &flags[Port],
         "JSON-RPC port (default: 1515 for model year 19 or earlier, else 1516; 0 = any free port)",
         "N"},
        {"admin-port", 0, 0, G_OPTION_ARG_STRING, &flags[AdminPort],
         "Port of the TV screen and admin API on 127.0.0.1 (default 8515, 0 = any free port)", "N"},
        {"approval", 0, 0, G_OPTION_ARG_STRING, &flags[Approval],
         "How pairing requests are answered: screen, allow, deny or ignore (default screen)",
         "MODE"},
        {"security", 0, 0, G_OPTION_ARG_STRING, &flags[Security],
         "default (tokens as TVs make them) or hardened (random tokens, never an empty one, "
         "tokens shortened in the log)",
         "MODE"},
        {"no-upnp", 0, 0, G_OPTION_ARG_NONE, &noUpnp, "Do not announce the TV over UPnP", nullptr},
        {"upnp-port", 0, 0, G_OPTION_ARG_STRING, &flags[UpnpPort],
         "TCP port of the UPnP description server (default 9110, 0 = any free port)", "N"},
        {"log-level", 0, 0, G_OPTION_ARG_STRING, &flags[LogLevel],
         "Lowest level written: debug, info, warn, error or silent (default info)", "LEVEL"},
        {"version", 0, 0, G_OPTION_ARG_NONE, &version, "Print the version and exit", nullptr},
        {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};

    std::unique_ptr<GOptionContext, decltype(&g_option_context_free)> context(
        g_option_context_new("- TV IP-control service"), g_option_context_free);
    g_option_context_set_summary(context.get(),
                                 "Runs a virtual TV that clients on the network control with "
                                 "JSON-RPC over HTTP.");
    g_option_context_add_main_entries(context.get(), entries, nullptr);

    GError* error = nullptr;
    const bool parsed = g_option_context_parse(context.get(), &argc, &argv, &error);
    Value values[KeyCount];
    for (int key = 0; key < KeyCount; ++key) {
        if (flags[key] != nullptr) {
            values[key] = {takeString(flags[key]), std::string("--") + kKeyNames[key], true};
        }
    }
    const std::string configPath = takeString(config);
    if (!parsed) {
        message = std::string(error->message) + " (see --help)";
        g_error_free(error);
        return ParseResult::Error;
    }
    if (argc > 1) {
        message = std::string("unexpected argument '") + argv[1] + "' (see --help)";
        return ParseResult::Error;
    }
    if (version) {
        options.showVersion = true;
        return ParseResult::Exit;
    }
    if (noUpnp) {
        values[Upnp] = {"no", "--no-upnp", true};
    }
    if (!configPath.empty()) {
        ConfigFile file;
        if (!file.load(configPath, {std::begin(kKeyNames), std::end(kKeyNames)}, message)) {
            return ParseResult::Error;
        }
        for (int key = 0; key < KeyCount; ++key) {
            const ConfigFile::Entry* entry = file.find(kKeyNames[key]);
            if (entry == nullptr || values[key].present) {
                continue;
            }
            // A relative data folder in the file is taken from the file's own folder.
            std::string text = entry->value;
            if (key == DataDir && !text.empty() && !g_path_is_absolute(text.c_str())) {
                g_autofree gchar* folder = g_path_get_dirname(configPath.c_str());
                text = takeString(g_canonicalize_filename(text.c_str(), folder));
            }
            values[key] = {
                text, configPath + ":" + std::to_string(entry->line) + ": " + kKeyNames[key], true};
        }
    }
    options.platform.adminServer = true;
    options.platform.profile = "tv-2023";
    options.platform.resourceDir =
        takeString(g_canonicalize_filename("../share/ipcontrol", hostExecutableDir().c_str()));
    options.platform.dataDir = std::string(g_get_user_state_dir()) + "/ipcontrol";
    return applyValues(values, options, message) ? ParseResult::Run : ParseResult::Error;
}
