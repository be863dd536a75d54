// "ipcontrol call": one JSON-RPC request with the stored token, and its result.
#pragma once

#include "CommandLine.h"
#include "Outcome.h"
#include "TokenStore.h"
#include "TvAnswer.h"

// Runs on the calling thread and blocks until the TV answers (70 s at the most).
class CallCommand {
public:
    // store: loaded; the token is read from it.
    CallCommand(const CommandLine& commandLine, const TokenStore& store);

    Outcome run();

private:
    Outcome _interpret(const TvAnswer& answer) const;

    const CommandLine& m_commandLine;
    const TokenStore& m_store;
    std::string m_tv;  // "host:port", also the key of the token
};
