// "ipcontrol tokens": the TVs this device holds a token for, and forgetting one.
#pragma once

#include "CommandLine.h"
#include "Outcome.h"
#include "TokenStore.h"

// Runs on the calling thread; touches only the token file.
class TokensCommand {
public:
    // store: loaded; forget saves it.
    TokensCommand(const CommandLine& commandLine, TokenStore& store);

    Outcome run();

private:
    Outcome _list() const;
    Outcome _forget();

    const CommandLine& m_commandLine;
    TokenStore& m_store;
};
