// Parsing of the ipcontrol command line and the help texts built from the command table.
#include "CommandLine.h"

#include <algorithm>
#include <cstdlib>

#include "CommandTable.h"
#include "JsonValue.h"

namespace {

const char* const kGlobalSynopsis =
    "ipcontrol [--host H] [--port N] [--tv NAME|ADDRESS|all|profile:NAME] [--json] ";

bool parseCount(const std::string& text, size_t& count) {
    char* end = nullptr;
    long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < 1 || value > 256) {
        return false;
    }
    count = static_cast<size_t>(value);
    return true;
}

bool parsePort(const std::string& text, unsigned short& port) {
    char* end = nullptr;
    long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < 1 || value > 65535) {
        return false;
    }
    port = static_cast<unsigned short>(value);
    return true;
}

bool parseSeconds(const std::string& text, std::chrono::milliseconds& timeout) {
    char* end = nullptr;
    double seconds = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !(seconds >= 0.1 && seconds <= 60)) {
        return false;
    }
    timeout = std::chrono::milliseconds(static_cast<long>(seconds * 1000));
    return true;
}

bool isJsonObject(const std::string& text) {
    return common::json::JsonValue::Create(text).type() == common::json::JsonType::objectValue;
}

// Splits "--name=value" or "--name value" at args[i], moving i past the value.
bool optionValue(const std::vector<std::string>& args, size_t& i, std::string& name,
                 std::string& value, std::string& error) {
    const std::string& arg = args[i];
    size_t equals = arg.find('=');
    name = arg.substr(0, equals);
    if (equals != std::string::npos) {
        value = arg.substr(equals + 1);
    } else if (i + 1 < args.size()) {
        value = args[++i];
    } else {
        error = name + " needs a value";
        return false;
    }
    return true;
}

}  // namespace

bool CommandLine::parse(const std::vector<std::string>& argv, std::string& error) {
    if (std::find_if(argv.begin(), argv.end(), [](const std::string& arg) {
            return arg == "--help" || arg == "-h";
        }) != argv.end()) {
        command = Command::Help;
        auto named = std::find_if(argv.begin(), argv.end(), [](const std::string& arg) {
            return findCommand(arg) != nullptr;
        });
        helpTopic = named == argv.end() ? "" : *named;
        return true;
    }
    size_t i = 0;
    for (; i < argv.size() && argv[i].rfind('-', 0) == 0; ++i) {
        const std::string& arg = argv[i];
        std::string name = arg.substr(0, arg.find('='));
        std::string value;
        if (arg == "--json") {
            json = true;
        } else if (arg == "--all") {
            selection.add("all", error);
        } else if (name != "--host" && name != "--port" && name != "--tv" && name != "--parallel") {
            error = "unknown option '" + arg + "'";
            return false;
        } else if (!optionValue(argv, i, name, value, error)) {
            return false;
        } else if (name == "--host" && value.empty()) {
            error = "--host needs a host name or address";
            return false;
        } else if (name == "--host") {
            host = value;
            hostGiven = true;
        } else if (name == "--tv") {
            if (!selection.add(value, error)) {
                return false;
            }
        } else if (name == "--parallel") {
            if (!parseCount(value, parallel)) {
                error = "--parallel takes a whole number from 1 to 256, got '" + value + "'";
                return false;
            }
        } else if (!parsePort(value, port)) {
            error = "--port must be a TCP port from 1 to 65535, got '" + value + "'";
            return false;
        } else {
            portGiven = true;
        }
    }
    if (i == argv.size()) {
        error = "no command given";
        return false;
    }
    const CommandInfo* info = findCommand(argv[i]);
    if (info == nullptr) {
        error = "unknown command '" + argv[i] + "'";
        return false;
    }
    const std::string& name = argv[i++];
    helpTopic = name;
    for (; i < argv.size(); ++i) {
        const std::string& arg = argv[i];
        if (arg.rfind("--", 0) != 0 || arg.size() == 2) {
            args.push_back(arg);
            continue;
        }
        if (arg == "--all") {  // "pair --all" reads better than "--tv all pair"
            selection.add("all", error);
            continue;
        }
        if (arg.rfind("--tv", 0) == 0 && (arg.size() == 4 || arg[4] == '=')) {
            // The TVs are part of what the command does: "power off --tv profile:wall".
            std::string option;
            std::string value;
            if (!optionValue(argv, i, option, value, error) || !selection.add(value, error)) {
                return false;
            }
            continue;
        }
        std::string option;
        std::string value;
        const std::string optionName = arg.substr(0, arg.find('='));
        if (std::find(info->options.begin(), info->options.end(), optionName) ==
            info->options.end()) {
            bool global = optionName == "--host" || optionName == "--port" || arg == "--json" ||
                          optionName == "--parallel";
            error = global ? arg + " is a global option: put it before the command"
                           : name + " has no option '" + arg + "'";
            return false;
        }
        if (!optionValue(argv, i, option, value, error)) {
            return false;
        }
        if (option == "--timeout" && !parseSeconds(value, timeout)) {
            error = "--timeout takes seconds from 0.1 to 60, got '" + value + "'";
            return false;
        }
        url = option == "--url" ? value : url;
        interface = option == "--interface" ? value : interface;
    }
    if (args.size() < info->minArgs || args.size() > info->maxArgs) {
        error = "wrong number of arguments for " + name;
        return false;
    }
    if (!info->check(args, error)) {
        return false;
    }
    if (info->command == Command::Call) {
        method = args[0];
        params = args.size() == 2 ? args[1] : "";
        if (!params.empty() && !isJsonObject(params)) {
            error = "JSON-PARAMS must be a JSON object, got '" + params + "'";
            return false;
        }
    }
    if (info->command == Command::Launch && !url.empty() && args[0] != "Internet") {
        error = "--url works only with launch Internet (the web browser)";
        return false;
    }
    if (!selection.empty() && hostGiven) {
        error = "--host names one TV and --tv several: give the host to --tv";
        return false;
    }
    if (!selection.empty() &&
        (info->command == Command::Discover || info->command == Command::Tokens)) {
        error = name + " does not take --tv or --all";
        return false;
    }
    command = info->command;
    return true;
}

std::string CommandLine::usage(const std::string& topic) {
    const std::string trailer = "\nRun 'ipcontrol --help' for the global options and exit codes.\n";
    if (const CommandInfo* info = findCommand(topic)) {
        return std::string("Usage: ") + kGlobalSynopsis + info->synopsis + "\n\n" + info->details +
               trailer;
    }
    size_t width = 0;
    for (const CommandInfo& entry : commandTable()) {
        width = std::max(width, std::string(entry.synopsis).size());
    }
    std::string text =
        std::string("Usage: ") + kGlobalSynopsis + "COMMAND [ARGUMENTS]\n\nCommands:\n";
    for (const CommandInfo& entry : commandTable()) {
        std::string synopsis = entry.synopsis;
        text +=
            "  " + synopsis + std::string(width + 2 - synopsis.size(), ' ') + entry.summary + "\n";
    }
    return text +
           "\n"
           "Options (before the command):\n"
           "  --host H      the TV's host name or address (default 127.0.0.1)\n"
           "  --port N      the TV's JSON-RPC port (default 1516; 1515 for model year 19 or\n"
           "                earlier)\n"
           "  --tv WHICH    run on several TVs: a name or address, all, or profile:NAME (the\n"
           "                TVs of that profile); comma-separated, or --tv again; found by a\n"
           "                search except addresses. --tv may also follow the command, and\n"
           "                --all after it means --tv all (ipcontrol pair --all)\n"
           "  --parallel N  TVs handled at once with --tv (default 16)\n"
           "  --json        print the TV's raw response bodies, for scripts\n"
           "  -h, --help    print this text; 'ipcontrol COMMAND --help' explains a command\n"
           "\n"
           "Tokens are kept in $XDG_CONFIG_HOME/ipcontrol/tokens.json (else\n"
           "~/.config/ipcontrol/tokens.json).\n"
           "\n"
           "Exit codes: 0 success, 1 other failure, 2 usage, 3 TV unreachable, 4 pairing\n"
           "denied, 5 pairing timed out, 6 device blocked, 7 pairing pop-up already on\n"
           "screen, 8 not paired or token refused, 9 unknown method, 10 other JSON-RPC\n"
           "error, 11 discover found no TV.\n";
}
