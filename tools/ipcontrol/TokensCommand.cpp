// Listing and forgetting stored tokens. The tokens themselves are never printed: they are the
// device's credentials.
#include "TokensCommand.h"

#include "JsonValue.h"

using common::json::JsonType;
using common::json::JsonValue;

TokensCommand::TokensCommand(const CommandLine& commandLine, TokenStore& store)
    : m_commandLine(commandLine), m_store(store) {}

Outcome TokensCommand::run() {
    return m_commandLine.args[0] == "list" ? _list() : _forget();
}

Outcome TokensCommand::_list() const {
    Outcome outcome;
    JsonValue list(JsonType::arrayValue);
    for (const std::string& key : m_store.keys()) {
        outcome.output += key + "\n";
        list.append(key);
    }
    if (m_commandLine.json) {
        outcome.output = list.toString();
    } else if (outcome.output.empty()) {
        outcome.sentence = "This device is not paired with any TV; run ipcontrol pair.";
    }
    return outcome;
}

Outcome TokensCommand::_forget() {
    const std::string key = m_commandLine.args.size() == 2
                                ? m_commandLine.args[1]
                                : TokenStore::keyFor(m_commandLine.host, m_commandLine.port);
    if (!m_store.remove(key)) {
        return {ExitCode::NotPaired,
                "No token is stored for " + key +
                    "; ipcontrol tokens list shows the TVs this device is paired with.",
                ""};
    }
    std::string error;
    if (!m_store.save(error)) {
        return {ExitCode::Failure, "The token file cannot be written: " + error + ".", ""};
    }
    return {ExitCode::Success,
            "Forgot the token for " + key + "; run ipcontrol pair to pair with it again.", ""};
}
