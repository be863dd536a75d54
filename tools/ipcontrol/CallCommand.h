// "ipcontrol call", and the request with the stored token that every TV command sends.
#pragma once

#include "CommandLine.h"
#include "JsonValue.h"
#include "Outcome.h"
#include "TokenStore.h"
#include "TvAnswer.h"

// Runs on the calling thread and blocks until the TV answers (70 s at the most).
class CallCommand {
public:
    // store: loaded; the token is read from it.
    CallCommand(const CommandLine& commandLine, const TokenStore& store);

    // The call command: METHOD and JSON-PARAMS from the command line.
    Outcome run();
    // Sends method with params (an object) and the stored token. The outcome's output is the
    // indented result, or the raw body with --json; its sentence is set on failure. subject
    // names the request in those sentences, as the user typed it ("volume 200"); "" names the
    // method. answer receives what the TV sent (NoContact when nothing was sent).
    Outcome send(const std::string& method, common::json::JsonValue params,
                 const std::string& subject, TvAnswer& answer) const;

private:
    Outcome _interpret(const TvAnswer& answer, const std::string& method, bool write,
                       const std::string& subject) const;

    const CommandLine& m_commandLine;
    const TokenStore& m_store;
    std::string m_tv;  // "host:port", also the key of the token
};
