// The command line of ipcontrol: global options, then the command, its arguments and options.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "TvSelection.h"

// What the user asked for. A plain value; parsing has no side effects.
struct CommandLine {
    enum class Command {
        Help,
        Discover,
        Pair,
        State,
        Power,
        Volume,
        Mute,
        Input,
        Key,
        Launch,
        Picture,
        Call,
        Tokens,
    };

    std::string host = "127.0.0.1";
    unsigned short port = 1516;
    bool hostGiven = false;  // --host was on the line
    bool portGiven = false;  // --port was on the line (discover then probes only that port)
    bool json = false;       // print raw response bodies
    Command command = Command::Help;
    std::string helpTopic;          // the command named, whose help --help or a usage error shows
    std::vector<std::string> args;  // the command's arguments, already checked
    std::string method;             // call only
    std::string params;             // call only: the JSON object text given, empty when none
    std::string url;                // launch --url
    std::string interface;          // discover --interface, "" for every interface
    std::chrono::milliseconds timeout{3000};  // discover --timeout
    TvSelection selection;                    // --tv and --all: the command runs on each TV chosen
    size_t parallel = 16;                     // --parallel: TVs handled at once

    // Parses the arguments after the program name. On a usage error returns false and sets
    // error to one line (helpTopic is set once the command is known). --help or -h anywhere
    // asks for help: on the command when one is named.
    bool parse(const std::vector<std::string>& args, std::string& error);

    // The overview, or the help of one command ("" gives the overview too).
    static std::string usage(const std::string& topic = "");
};
