// One JSON-RPC request to the TV named on the command line, and its answer.
#pragma once

#include <chrono>
#include <string>

#include "CommandLine.h"
#include "JsonValue.h"
#include "TvAnswer.h"

// Blocks the calling thread until the answer, the read timeout or a failure.
class TvSession {
public:
    static constexpr std::chrono::milliseconds kConnectTimeout{5000};
    // Longer than the TV's own 60-second deadline, after which it answers 504.
    static constexpr std::chrono::milliseconds kReadTimeout{70000};

    explicit TvSession(const CommandLine& commandLine);

    // Sends {"jsonrpc":"2.0","method":method,"id":1,"params":params}; a null params is left out.
    TvAnswer post(const std::string& method, const common::json::JsonValue& params) const;

private:
    HttpPost m_http;
};
