// What the TV said to one request, read from the HTTP reply, and the failures both commands
// share.
#pragma once

#include <string>

#include "HttpPost.h"
#include "JsonValue.h"
#include "Outcome.h"

// A plain value read from one reply.
struct TvAnswer {
    // The JSON-RPC error codes the commands tell apart.
    static constexpr int kParseError = -32700;    // also how the TV refuses an unknown client
    static constexpr int kUnauthorized = -32010;  // the viewer denied, or nobody answered
    static constexpr int kMethodNotFound = -32601;

    enum class Kind {
        NoContact,     // the request never got an HTTP answer (see HttpReply::transport)
        Refusal,       // 403 with a bare JSON-RPC error object: code and message are set
        EmptyRefusal,  // 403 with an empty body
        Result,        // 200 with a JSON-RPC response holding "result" (or neither member)
        Error,         // 200 with a JSON-RPC response holding "error": code, message, data
        Unexpected,    // another status, or a body that is not what the status promises
    };

    Kind kind = Kind::Unexpected;
    HttpReply reply;
    int code = 0;
    std::string message;
    std::string data;                // the error's "data" as text, or ""
    common::json::JsonValue result;  // null when the response has no "result"

    static TvAnswer read(HttpReply reply);

    // The outcome for the kinds that mean the same to every command: NoContact, the HTTP
    // statuses 503 and other unexpected answers. tv names the TV ("host:port").
    Outcome commonOutcome(const std::string& tv) const;
    // "-32002 Server error (Failed)"
    std::string describeError() const;
};
