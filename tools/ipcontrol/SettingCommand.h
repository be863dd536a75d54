// The everyday commands: state, power, volume, mute, input, key, launch and picture. Each is
// one or a few JSON-RPC requests whose answers are shown as a readout ("Volume 20").
#pragma once

#include <string>
#include <vector>

#include "CallCommand.h"
#include "CommandLine.h"
#include "JsonValue.h"
#include "Outcome.h"
#include "TokenStore.h"

// Runs on the calling thread and blocks while the TV answers each request in turn.
class SettingCommand {
public:
    // One request of a command.
    struct Step {
        std::string method;
        common::json::JsonValue params;  // {} reads
        bool shown;                      // its result goes into the readout
    };

    // store: loaded; the token is read from it.
    SettingCommand(const CommandLine& commandLine, const TokenStore& store);

    // The requests the command line asks for, in order. Its arguments are already checked.
    static std::vector<Step> plan(const CommandLine& commandLine);

    // Sends the steps in order and stops at the first failure, keeping what came before.
    Outcome run();

private:
    const CommandLine& m_commandLine;
    CallCommand m_call;
};
