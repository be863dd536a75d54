// The command table: argument checks and help texts.
#include "CommandTable.h"

#include <algorithm>
#include <cstdlib>

namespace {

using Args = std::vector<std::string>;
using Command = CommandLine::Command;

bool anything(const Args&, std::string&) {
    return true;
}

bool powerWord(const Args& args, std::string& error) {
    if (args.empty() || args[0] == "on" || args[0] == "off" || args[0] == "reboot") {
        return true;
    }
    error = "power takes on, off or reboot, or nothing to read it; got '" + args[0] + "'";
    return false;
}

bool muteWord(const Args& args, std::string& error) {
    if (args.empty() || args[0] == "on" || args[0] == "off") {
        return true;
    }
    error = "mute takes on or off, or nothing to read it; got '" + args[0] + "'";
    return false;
}

bool volumeValue(const Args& args, std::string& error) {
    if (args.empty() || args[0] == "up" || args[0] == "down") {
        return true;
    }
    char* end = nullptr;
    long value = std::strtol(args[0].c_str(), &end, 10);
    if (!args[0].empty() && *end == '\0' && value >= 0 && value <= 100) {
        return true;
    }
    error = "volume takes a whole number from 0 to 100, up or down, or nothing to read it; got '" +
            args[0] + "'";
    return false;
}

bool keyWords(const Args& args, std::string& error) {
    for (const std::string& key : args) {
        if (std::find(remoteKeys().begin(), remoteKeys().end(), key) == remoteKeys().end()) {
            error = "unknown key '" + key + "' (case counts; the keys are listed below)";
            return false;
        }
    }
    return true;
}

bool tokensAction(const Args& args, std::string& error) {
    if (args[0] == "forget" || (args[0] == "list" && args.size() == 1)) {
        return true;
    }
    error = args[0] == "list" ? "tokens list takes nothing more"
                              : "tokens takes list or forget [HOST:PORT], got '" + args[0] + "'";
    return false;
}

}  // namespace

const std::vector<std::string>& remoteKeys() {
    static const std::vector<std::string> keys = {
        "power",       "cursorUp", "cursorDn",    "cursorLeft", "cursorRight", "menu",
        "firstScreen", "enter",    "fastforward", "rewind",     "play",        "stop",
        "pause",       "return",   "exit",        "number0",    "number1",     "number2",
        "number3",     "number4",  "number5",     "number6",    "number7",     "number8",
        "number9",     "caption",  "dash",        "red",        "green",       "yellow",
        "blue",        "ambient",  "channelUp",   "channelDn",  "volumeUp",    "volumeDn",
        "multiview"};
    return keys;
}

const std::vector<CommandInfo>& commandTable() {
    static const std::vector<CommandInfo> table = {
        {"discover",
         Command::Discover,
         0,
         0,
         {"--timeout", "--interface"},
         "discover [--timeout S] [--interface IF]",
         "find the TVs on the local network",
         "Searches the local network for TVs over SSDP and lists each once: its name, address,\n"
         "JSON-RPC port (1516 or 1515, whichever accepts a connection; '-' when neither does;\n"
         "with --port N only N is tried) and model. With --json, a JSON array of objects with\n"
         "name, address, port (null when closed), model, udn and location.\n"
         "\n"
         "  --timeout S      how long to listen for answers, in seconds (default 3)\n"
         "  --interface IF   search on this network interface only (default: every one that is\n"
         "                   up, the loopback interface included)\n"
         "\n"
         "Exits with 11 when no TV answered.\n",
         anything},
        {"pair",
         Command::Pair,
         0,
         0,
         {},
         "pair",
         "pair with the TV (it asks on screen)",
         "Sends createAccessToken; the TV shows a pop-up, and the command waits (up to about 35 "
         "s)\n"
         "while the viewer presses Allow or Deny. The token is stored for H:N.\n",
         anything},
        {"state",
         Command::State,
         0,
         0,
         {},
         "state",
         "show the TV's state",
         "Reads getTVStates: power, volume, mute, input source, channel, picture and sound mode,\n"
         "the application in front, and art or ambient mode on sets that have them.\n",
         anything},
        {"power",
         Command::Power,
         0,
         1,
         {},
         "power [on|off|reboot]",
         "read or set power: on, off, reboot",
         "Without an argument reads the power state: on, off (standby) or rebooting. on and off\n"
         "switch the TV on or to standby; reboot restarts it (it refuses requests for a few\n"
         "seconds).\n",
         powerWord},
        {"volume",
         Command::Volume,
         0,
         1,
         {},
         "volume [N|up|down]",
         "read, set (0-100) or step the volume",
         "Without an argument reads the volume. N (0 to 100) sets it; up and down press the\n"
         "volume key once and then read the new volume. Setting the volume also unmutes.\n",
         volumeValue},
        {"mute",
         Command::Mute,
         0,
         1,
         {},
         "mute [on|off]",
         "read or set mute",
         "Without an argument reads whether the sound is muted; on mutes, off unmutes.\n",
         muteWord},
        {"input",
         Command::Input,
         0,
         1,
         {},
         "input [SOURCE]",
         "read or choose the input source",
         "Without an argument reads the input source. SOURCE chooses one: TV (digital TV),\n"
         "HDMI1 to HDMI4 (as many as the set has), or another source the set names, such as\n"
         "Component or AV. Case counts.\n",
         anything},
        {"key",
         Command::Key,
         1,
         SIZE_MAX,
         {},
         "key KEY...",
         "press remote-control keys",
         "Presses each KEY once, in order, and stops at the first the TV refuses. The keys\n"
         "(case counts):\n"
         "  power cursorUp cursorDn cursorLeft cursorRight menu firstScreen enter\n"
         "  fastforward rewind play stop pause return exit number0 ... number9 caption dash\n"
         "  red green yellow blue ambient channelUp channelDn volumeUp volumeDn multiview\n"
         "With --json, one response body per key, one per line.\n",
         keyWords},
        {"launch",
         Command::Launch,
         1,
         1,
         {"--url"},
         "launch APP [--url URL]",
         "start an application",
         "Starts APP in front of the source: Netflix, YouTube, Hulu, Prime Video, Pandora,\n"
         "VUDU or Internet (the web browser). Case counts.\n"
         "\n"
         "  --url URL   the page the web browser opens (Internet only)\n",
         anything},
        {"picture",
         Command::Picture,
         0,
         1,
         {},
         "picture [MODE]",
         "show picture settings or set the mode",
         "Without an argument reads the picture mode and the contrast, brightness, sharpness,\n"
         "color and tint (with --json: two response bodies, one per line). MODE chooses a\n"
         "picture mode of the set, for example Standard, Dynamic, Natural, Movie or\n"
         "'Filmmaker Mode'. Case counts.\n",
         anything},
        {"call",
         Command::Call,
         1,
         2,
         {},
         "call METHOD [JSON-PARAMS]",
         "send any method, print its result",
         "Sends METHOD with the stored token added to JSON-PARAMS, a JSON object such as\n"
         "'{\"volume\": 12}' (default {}), and prints the result as indented JSON. The methods\n"
         "and their parameters are in the protocol reference.\n",
         anything},
        {"tokens",
         Command::Tokens,
         1,
         2,
         {},
         "tokens list|forget [HOST:PORT]",
         "list or forget stored tokens",
         "list prints the TVs this device holds a token for, as HOST:PORT (with --json, a JSON\n"
         "array). forget deletes the token of HOST:PORT, by default of the TV that --host and\n"
         "--port name. The TV itself still knows the device; pair again to get a new token.\n",
         tokensAction},
    };
    return table;
}

const CommandInfo* findCommand(const std::string& name) {
    for (const CommandInfo& info : commandTable()) {
        if (name == info.name) {
            return &info;
        }
    }
    return nullptr;
}

const CommandInfo* findCommand(CommandLine::Command command) {
    for (const CommandInfo& info : commandTable()) {
        if (info.command == command) {
            return &info;
        }
    }
    return nullptr;
}
