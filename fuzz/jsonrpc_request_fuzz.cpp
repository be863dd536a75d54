// Fuzz target: a request text through the pipeline's parse-and-verify step and the JSON-RPC
// parser's readings and answers.
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>

#include "FuzzSupport.h"
#include "JsonValue.h"
#include "Manager/JSONRPCParser.h"
#include "Manager/ServiceManager.h"

namespace {

const char kKnownToken[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLM";

ServiceManager& pipeline() {
    // No worker thread: an accepted command ends in the "thread finished" error, which is how
    // far the verification step goes.
    static ServiceManager* manager = [] {
        auto* created = new ServiceManager;
        created->m_sendResponseHook.set([](unsigned int, const std::string&) {});
        created->m_sendAccessDeniedHook.set([](unsigned int, const std::string&) {});
        created->m_getPeerMacAddressHook.set(
            [](unsigned int) { return std::string("02:00:00:00:00:01"); });
        created->m_accessTokenCheckInAuthGroupHook.set(
            [](const std::string& token) { return token == kKnownToken ? 1 : 0; });
        created->m_macAddressCheckInDeniedGroupHook.set([](const std::string&) { return 0; });
        created->m_issueAccessTokenHook.set([](const std::string&) { return 0; });
        created->m_runCommandHook.set([](CmdRequest*) {});
        return created;
    }();
    return *manager;
}

void readAll(const std::string& text) {
    JSONRPCParser parser;
    if (!parser.parse(text)) {
        parser.buildResponse(JSONRPCParser::getJsonErrorMessage(PARSE_ERROR), false);
        return;
    }
    std::string method;
    std::string id;
    std::string token;
    std::map<std::string, std::string> params;
    parser.getMethodName(method);
    parser.getJsonID(id);
    parser.getAccessToken(token);
    parser.hasParams();
    parser.isDeviceControl();
    if (parser.getParams(params)) {
        parser.setCopiedParams(params);
    }
    parser.buildResponse("", true);
    parser.buildResponse("", false);
    parser.buildResponse(id, parser.getJsonParams(), "");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    readAll(text);
    try {
        pipeline().handleJsonRequest(7, text);
    } catch (const std::runtime_error&) {
        // An accepted command reached the (absent) worker thread.
    }
    return 0;
}
