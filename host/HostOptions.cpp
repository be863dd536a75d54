// Command line of ipcontrold.
#include "HostOptions.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

#include <glib.h>

std::string hostExecutableDir() {
    g_autofree gchar* exe = g_file_read_link("/proc/self/exe", nullptr);
    if (exe == nullptr) {
        return ".";
    }
    g_autofree gchar* dir = g_path_get_dirname(exe);
    return dir;
}

namespace {

std::string takeString(gchar* text) {
    std::string result = text != nullptr ? text : "";
    g_free(text);
    return result;
}

bool parsePort(const char* name, int value, unsigned short& out, std::string& message,
               bool allowZero) {
    if (value < (allowZero ? 0 : 1) || value > 65535) {
        message = std::string(name) + " must be a TCP port from " + (allowZero ? "0" : "1") +
                  " to 65535, got " + std::to_string(value);
        return false;
    }
    out = static_cast<unsigned short>(value);
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

}  // namespace

ParseResult parseHostOptions(int argc, char** argv, HostOptions& options, std::string& message) {
    gchar* dataDir = nullptr;
    gchar* profile = nullptr;
    gchar* approval = nullptr;
    gchar* logLevel = nullptr;
    gint port = 0;
    gint adminPort = options.platform.adminPort;
    gint upnpPort = -1;
    unsigned short upnpPortValue = 0;
    gboolean noUpnp = FALSE;
    gboolean version = FALSE;
    GOptionEntry entries[] = {
        {"data-dir", 0, 0, G_OPTION_ARG_FILENAME, &dataDir,
         "Folder for settings, tokens and TV state (created if missing)", "DIR"},
        {"profile", 0, 0, G_OPTION_ARG_STRING, &profile,
         "Product profile: a name under the profiles folder or a JSON file (default tv-2023)",
         "NAME|FILE"},
        {"port", 0, 0, G_OPTION_ARG_INT, &port,
         "JSON-RPC port (default: 1515 for model year 19 or earlier, else 1516)", "N"},
        {"admin-port", 0, 0, G_OPTION_ARG_INT, &adminPort,
         "Port of the TV screen and admin API on 127.0.0.1 (default 8515, 0 = any free port)", "N"},
        {"approval", 0, 0, G_OPTION_ARG_STRING, &approval,
         "How pairing requests are answered: screen, allow, deny or ignore (default screen)",
         "MODE"},
        {"no-upnp", 0, 0, G_OPTION_ARG_NONE, &noUpnp, "Do not announce the TV over UPnP", nullptr},
        {"upnp-port", 0, 0, G_OPTION_ARG_INT, &upnpPort,
         "TCP port of the UPnP description server (default 9110, 0 = any free port)", "N"},
        {"log-level", 0, 0, G_OPTION_ARG_STRING, &logLevel,
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
    bool parsed = g_option_context_parse(context.get(), &argc, &argv, &error);
    auto cleanup = [&]() {
        g_free(dataDir);
        g_free(profile);
        g_free(approval);
        g_free(logLevel);
    };
    if (!parsed) {
        message = std::string(error->message) + " (see --help)";
        g_error_free(error);
        cleanup();
        return ParseResult::Error;
    }
    ParseResult result = ParseResult::Run;
    if (argc > 1) {
        message = std::string("unexpected argument '") + argv[1] + "' (see --help)";
        result = ParseResult::Error;
    } else if (version) {
        options.showVersion = true;
        result = ParseResult::Exit;
    } else if (!parsePort("--port", port, options.platform.port, message, true) ||
               !parsePort("--admin-port", adminPort, options.platform.adminPort, message, true) ||
               (upnpPort != -1 &&
                !parsePort("--upnp-port", upnpPort, upnpPortValue, message, true))) {
        result = ParseResult::Error;
    } else if (logLevel != nullptr && !parseLogLevel(logLevel, options.logLevel)) {
        message = std::string("--log-level must be debug, info, warn, error or silent, got '") +
                  logLevel + "'";
        result = ParseResult::Error;
    } else {
        std::string mode = approval != nullptr ? approval : "screen";
        if (mode != "screen" && mode != "allow" && mode != "deny" && mode != "ignore") {
            message = "--approval must be screen, allow, deny or ignore, got '" + mode + "'";
            result = ParseResult::Error;
        }
        options.platform.approval = mode;
        options.platform.upnpEnabled = !noUpnp;
        options.platform.upnpPort = upnpPort != -1 ? upnpPortValue : -1;
        options.platform.adminServer = true;
        options.platform.profile = profile != nullptr ? profile : "tv-2023";
        options.platform.resourceDir =
            takeString(g_canonicalize_filename("../share/ipcontrol", hostExecutableDir().c_str()));
        if (dataDir != nullptr) {
            options.platform.dataDir = dataDir;
        } else {
            options.platform.dataDir = std::string(g_get_user_state_dir()) + "/ipcontrol";
        }
    }
    cleanup();
    return result;
}
