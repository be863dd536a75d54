// Parsing of the ipcontrol command line.
#include "CommandLine.h"

#include <algorithm>
#include <cstdlib>

#include "JsonValue.h"

namespace {

bool parsePort(const std::string& text, unsigned short& port) {
    char* end = nullptr;
    long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < 1 || value > 65535) {
        return false;
    }
    port = static_cast<unsigned short>(value);
    return true;
}

bool isJsonObject(const std::string& text) {
    return common::json::JsonValue::Create(text).type() == common::json::JsonType::objectValue;
}

}  // namespace

bool CommandLine::parse(const std::vector<std::string>& args, std::string& error) {
    if (std::find_if(args.begin(), args.end(), [](const std::string& arg) {
            return arg == "--help" || arg == "-h";
        }) != args.end()) {
        command = Command::Help;
        return true;
    }
    size_t i = 0;
    for (; i < args.size() && args[i].rfind("-", 0) == 0; ++i) {
        const std::string& arg = args[i];
        size_t equals = arg.find('=');
        std::string name = arg.substr(0, equals);
        bool needsValue = name == "--host" || name == "--port";
        std::string value;
        if (needsValue && equals != std::string::npos) {
            value = arg.substr(equals + 1);
        } else if (needsValue && i + 1 < args.size()) {
            value = args[++i];
        } else if (needsValue) {
            error = name + " needs a value";
            return false;
        }
        if (name == "--host" && !value.empty()) {
            host = value;
        } else if (name == "--host") {
            error = "--host needs a host name or address";
            return false;
        } else if (name == "--port" && !parsePort(value, port)) {
            error = "--port must be a TCP port from 1 to 65535, got '" + value + "'";
            return false;
        } else if (arg == "--json") {
            json = true;
        } else if (name != "--port") {
            error = "unknown option '" + arg + "'";
            return false;
        }
    }
    if (i == args.size()) {
        error = "no command given";
        return false;
    }
    const std::string& name = args[i++];
    std::vector<std::string> rest(args.begin() + static_cast<long>(i), args.end());
    if (name == "pair" && rest.empty()) {
        command = Command::Pair;
        return true;
    }
    if (name == "call" && !rest.empty() && rest.size() <= 2 && rest[0].rfind("-", 0) != 0) {
        command = Command::Call;
        method = rest[0];
        params = rest.size() == 2 ? rest[1] : "";
        if (!params.empty() && !isJsonObject(params)) {
            error = "JSON-PARAMS must be a JSON object, got '" + params + "'";
            return false;
        }
        return true;
    }
    if (name == "pair") {
        error = "pair takes no arguments (global options come before the command)";
    } else if (name == "call") {
        error = "call takes a METHOD and at most one JSON-PARAMS object (options come first)";
    } else {
        error = "unknown command '" + name + "'";
    }
    return false;
}

const char* CommandLine::usage() {
    return "Usage: ipcontrol [--host H] [--port N] [--json] COMMAND\n"
           "\n"
           "Commands:\n"
           "  pair                       ask the TV for an access token; the viewer allows or\n"
           "                             denies it on screen; the token is stored for H:N\n"
           "  call METHOD [JSON-PARAMS]  send a JSON-RPC request with the stored token and\n"
           "                             print its result; JSON-PARAMS is an object such as\n"
           "                             '{\"volume\": \"12\"}'\n"
           "\n"
           "Options (before the command):\n"
           "  --host H                   the TV's host name or address (default 127.0.0.1)\n"
           "  --port N                   the TV's JSON-RPC port (default 1516; 1515 for model\n"
           "                             year 19 or earlier)\n"
           "  --json                     print the TV's raw response bodies\n"
           "  -h, --help                 print this text\n"
           "\n"
           "Tokens are kept in $XDG_CONFIG_HOME/ipcontrol/tokens.json (else\n"
           "~/.config/ipcontrol/tokens.json).\n"
           "\n"
           "Exit codes: 0 success, 1 other failure, 2 usage, 3 TV unreachable, 4 pairing\n"
           "denied, 5 pairing timed out, 6 device blocked, 7 pairing pop-up already on\n"
           "screen, 8 not paired or token refused, 9 unknown method, 10 other JSON-RPC error.\n";
}
