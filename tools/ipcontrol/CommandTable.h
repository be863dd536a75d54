// The commands ipcontrol knows: their names, the arguments and options each takes, and their
// help texts, so that parsing, --help and the usage errors come from one place.
#pragma once

#include <string>
#include <vector>

#include "CommandLine.h"

// Constant data built on first use; read from the main thread.
struct CommandInfo {
    const char* name;
    CommandLine::Command command;
    size_t minArgs;
    size_t maxArgs;
    std::vector<std::string> options;  // the options after the command; each takes a value
    const char* synopsis;              // "volume [N|up|down]"
    const char* summary;               // its line in the overview
    const char* details;               // the body of "ipcontrol NAME --help"
    // Checks the arguments; false with a one-line error that says what is accepted.
    bool (*check)(const std::vector<std::string>& args, std::string& error);
};

// Every command, in the order the overview lists them.
const std::vector<CommandInfo>& commandTable();
// The entry named name, or nullptr.
const CommandInfo* findCommand(const std::string& name);
// The entry of command (Help has none: nullptr).
const CommandInfo* findCommand(CommandLine::Command command);
// The key words the TV's remote control has, as the key command takes them.
const std::vector<std::string>& remoteKeys();
