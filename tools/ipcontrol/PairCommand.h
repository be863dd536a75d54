// "ipcontrol pair": asks the TV for an access token and stores it.
#pragma once

#include <chrono>

#include "CommandLine.h"
#include "Outcome.h"
#include "TokenStore.h"
#include "TvAnswer.h"

// Runs on the calling thread and blocks while the viewer decides (about 35 s at the most).
class PairCommand {
public:
    // A refusal that comes this late means the pop-up hid itself after its 30 seconds.
    static constexpr std::chrono::seconds kNobodyAnsweredAfter{28};

    // store: loaded; the token is added to it and saved.
    PairCommand(const CommandLine& commandLine, TokenStore& store);

    Outcome run();
    // The outcome of an answer that took elapsed to come; a Result stores the token.
    Outcome interpret(const TvAnswer& answer, std::chrono::milliseconds elapsed);

private:
    Outcome _store(const TvAnswer& answer);

    const CommandLine& m_commandLine;
    TokenStore& m_store;
    std::string m_tv;  // "host:port", also the key of the token
};
