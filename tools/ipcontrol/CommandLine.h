// The command line of ipcontrol: global options, then the command and its arguments.
#pragma once

#include <string>
#include <vector>

// What the user asked for. A plain value; parsing has no side effects.
struct CommandLine {
    enum class Command { Help, Pair, Call };

    std::string host = "127.0.0.1";
    unsigned short port = 1516;
    bool json = false;  // print raw response bodies
    Command command = Command::Help;
    std::string method;  // call only
    std::string params;  // call only: the JSON object text given, empty when none

    // Parses the arguments after the program name. On a usage error returns false and sets
    // error to one line. --help or -h anywhere asks for the usage text.
    bool parse(const std::vector<std::string>& args, std::string& error);

    static const char* usage();
};
