// Command line of ipcontrold: parsing and validation into the platform's options.
// Main thread only.
#pragma once

#include <string>

#include "PlatformRuntime.h"
#include "dlog.h"

struct HostOptions {
    ipc_platform::Options platform;
    log_priority logLevel = DLOG_INFO;
    bool showVersion = false;
};

enum class ParseResult { Run, Exit, Error };

// Folder of the running executable: the plug-in lives in ../lib, the data in ../share/ipcontrol.
std::string hostExecutableDir();

// Fills options from argv. Error: message holds one line naming the option and the reason.
// Exit: --help or --version was handled (help text already printed).
ParseResult parseHostOptions(int argc, char** argv, HostOptions& options, std::string& message);
