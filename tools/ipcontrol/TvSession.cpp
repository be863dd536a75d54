// Building the JSON-RPC request and posting it.
#include "TvSession.h"

using common::json::JsonValue;

TvSession::TvSession(const CommandLine& commandLine)
    : m_http(commandLine.host, commandLine.port, kConnectTimeout, kReadTimeout) {}

TvAnswer TvSession::post(const std::string& method, const JsonValue& params) const {
    JsonValue request;
    request["jsonrpc"] = "2.0";
    request["method"] = method;
    request["id"] = 1;
    if (!params.isNull()) {
        request["params"] = params;
    }
    return TvAnswer::read(m_http.send(request.toString()));
}
