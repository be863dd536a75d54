// Request pipeline: parsing, client verification, the approval answer, commands and responses.
#include "Manager/ServiceManager.h"

#include <functional>
#include <stdexcept>
#include <utility>

#include "JsonValue.h"
#include "Log.h"
#include "Manager/CmdRequest.h"
#include "Manager/JSONRPCParser.h"
#include "Manager/MsgDispatcher.h"
#include "SecurityMode.h"

using common::json::JsonType;
using common::json::JsonValue;

namespace {

const char* const kCreateAccessToken = "createAccessToken";
const char* const kDispatcherName = "ServiceManager";
const char* const kThreadFinished = "Thread already finished! Can not do enqueue!!";
const size_t kShownTokenLength = 6;

std::string errorObject(eJSONRPCErrorCode code) {
    return JSONRPCParser::getJsonErrorMessage(code);
}

}  // namespace

ServiceManager::~ServiceManager() {
    _releaseDispatcher();
}

bool ServiceManager::create() {
    std::lock_guard<std::mutex> lock(m_dispatcherMutex);
    if (m_dispatcher == nullptr) {
        m_dispatcher = new MsgDispatcher(kDispatcherName);
    }
    return true;
}

bool ServiceManager::destroy() {
    if (_releaseDispatcher()) {
        LOGI("MsgDispatcher is deleted.");
    }
    m_journal.clear();
    LOGI("ServiceManager is deleted.");
    return true;
}

void ServiceManager::handleJsonRequest(const unsigned int& clientId, const std::string& json) {
    const RequestJournal::Clock::time_point arrived = RequestJournal::Clock::now();
    LOGI("sessionID:%u  jsonRequest:%s", clientId, SecurityMode::json(json).c_str());
    requestMsg msg{clientId, json, ""};
    JSONRPCParser parser;
    const bool parsed = parser.parse(json);
    std::string method;
    if (parsed) {
        parser.getMethodName(method);
    }
    // Looked up before the parse is judged, so that the request log names the sender of a
    // request that does not parse too.
    std::string peerMac = getPeerMacAddress(clientId);
    m_journal.begin(
        clientId, arrived, peerMac, method,
        parsed ? RequestJournal::kindOf(method, parser.getJsonParams()) : REQUEST_LOG_KIND_OTHER);
    if (!parsed) {
        sendAccessDenied(clientId, errorObject(PARSE_ERROR));
        return;
    }
    if (method == kCreateAccessToken) {
        processClientVerification(clientId, parser, peerMac, msg);
    } else {
        processDataVerification(clientId, parser, msg);
    }
}

void ServiceManager::processDataVerification(unsigned int clientId, JSONRPCParser& parser,
                                             const requestMsg& msg) {
    std::string token;
    if (parser.getAccessToken(token) && accessTokenCheckInAuthGroup(token) != 0) {
        enqueueData(msg, parser.takeDocument());
        return;
    }
    LOGE("Invalid access found!");
    sendAccessDenied(clientId, errorObject(PARSE_ERROR));
}

void ServiceManager::processClientVerification(unsigned int clientId, JSONRPCParser& /*parser*/,
                                               const std::string& peerMac, const requestMsg& msg) {
    if (macAddressCheckInDeniedGroup(peerMac) != 0) {
        sendAccessDenied(clientId, errorObject(PARSE_ERROR));
        return;
    }
    // The issue hook may end another client's approval at once, and that answer goes to the
    // request still pending; this one becomes pending only afterwards.
    if (issueAccessToken(peerMac) == 0) {
        LOGE("Can not issue AccessToken!");
        sendAccessDenied(clientId, "");
        return;
    }
    {
        std::lock_guard<std::mutex> lock(m_pendingMutex);
        m_pendingTokenRequest = msg;
    }
    LOGI("Issueing AccessToken");
}

bool ServiceManager::handleAccessToken(const std::string& result) {
    requestMsg pending;
    {
        std::lock_guard<std::mutex> lock(m_pendingMutex);
        pending = m_pendingTokenRequest;
    }
    if (pending.jsonData.empty()) {
        LOGE("no AccessToken request is pending, result [%s] dropped",
             SecurityMode::token(result).c_str());
        return false;
    }
    JSONRPCParser parser;
    parser.parse(pending.jsonData);
    if (result.empty()) {
        LOGE("Unexpected error has been occurred for AccessToken issueing");
        sendAccessDenied(pending.clientId, "");
        return false;
    }
    if (result == "timeout" || result == "denied") {
        LOGI("[%s] AccessToken for issueing", result.c_str());
        sendAccessDenied(pending.clientId, errorObject(UNAUTHORIZED_ACCESS));
        return false;
    }
    LOGI("Issued AccessToken");
    LOGI("issued AccessToken:%s", SecurityMode::token(result).c_str());
    JsonValue tokenResult(JsonType::objectValue);
    tokenResult["AccessToken"] = result;
    parser.setCopiedParams(tokenResult.toString(false));
    // The page shows no more of a token than its first characters.
    m_journal.finish(
        pending.clientId, 200, "",
        R"({"AccessToken":")" +
            (SecurityMode::hardened() ? SecurityMode::shortened(result)
                                      : result.substr(0, kShownTokenLength) + "\u2026") +
            "\"}");
    sendResponse(pending.clientId, parser.buildResponse("", false));
    return true;
}

void ServiceManager::enqueueData(const requestMsg& msg) {
    _enqueueJob([this, msg] { processCommand(msg); });
}

void ServiceManager::processCommand(const requestMsg& msg, JsonValue* parsed) {
    JSONRPCParser parser;
    parser.parse(msg.jsonData, parsed);
    auto* cmd = new CmdRequest;
    cmd->clientId = msg.clientId;
    parser.getJsonID(cmd->jsonId);
    parser.getMethodName(cmd->method);
    cmd->params = parser.takeJsonParams();
    {
        std::lock_guard<std::mutex> lock(m_inFlightMutex);
        m_commandsInFlight.insert(cmd);
    }
    try {
        runCommand(cmd);
    } catch (...) {
        // Whoever held the command has released it or never got it; it will not come back.
        _takeFromInFlight(cmd);
        throw;
    }
}

void ServiceManager::runCommand(CmdRequest* cmd) {
    if (cmd == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    Hook<void(CmdRequest*)>::Function run = m_runCommandHook.get();
    if (!run) {
        // Nobody got the command, so it is still ours to release.
        _takeFromInFlight(cmd);
        delete cmd;
        throw std::bad_function_call();
    }
    run(cmd);
}

void ServiceManager::enqueueResponseData(CmdRequest* cmd) {
    if (cmd == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    if (!_takeFromInFlight(cmd)) {
        // Not dereferenced: a command that is no longer in flight may already be released.
        LOGE("command %p is not in flight (already answered), ignored", static_cast<void*>(cmd));
        return;
    }
    LOGI("eResult:%d", cmd->resultCode);
    std::string errorText;
    if (cmd->bJsonRpcError) {
        errorText = errorObject(cmd->errorIndex);
    } else if (cmd->resultCode != DEVICE_MANAGER_SUCCESS) {
        errorText = JSONRPCParser::getResultMessage(cmd->resultCode);
    }
    JSONRPCParser parser;
    std::string response = parser.buildResponse(cmd->jsonId, cmd->result, errorText);
    unsigned int clientId = cmd->clientId;
    _enqueueJob([this, clientId, response = std::move(response), errorText = std::move(errorText)] {
        m_journal.finish(clientId, 200, errorText, response);
        sendResponse(clientId, response);
    });
}

void ServiceManager::sendResponse(unsigned int clientId, const std::string& text) {
    LOGI("sending response");
    m_sendResponseHook(clientId, text);
}

void ServiceManager::sendAccessDenied(unsigned int clientId, const std::string& text) {
    LOGI("sending access denied response");
    m_journal.finish(clientId, 403, text, "");
    m_sendAccessDeniedHook(clientId, text);
}

std::string ServiceManager::getPeerMacAddress(unsigned int clientId) {
    Hook<std::string(unsigned int)>::Function get = m_getPeerMacAddressHook.get();
    return get ? get(clientId) : std::string();
}

int ServiceManager::issueAccessToken(const std::string& macAddr) {
    return m_issueAccessTokenHook(macAddr);
}

int ServiceManager::macAddressCheckInDeniedGroup(const std::string& macAddr) {
    return m_macAddressCheckInDeniedGroupHook(macAddr);
}

int ServiceManager::accessTokenCheckInAuthGroup(const std::string& token) {
    return m_accessTokenCheckInAuthGroupHook(token);
}

void ServiceManager::showMessage(std::string text) {
    LOGI("sending request for showMessage");
    m_showMessageHook(std::move(text));
}

void ServiceManager::_enqueueJob(std::function<void()> job) {
    std::lock_guard<std::mutex> lock(m_dispatcherMutex);
    if (m_dispatcher == nullptr) {
        throw std::runtime_error(kThreadFinished);
    }
    m_dispatcher->EnqueueData(std::move(job));
}

bool ServiceManager::_releaseDispatcher() {
    MsgDispatcher* dispatcher = nullptr;
    {
        std::lock_guard<std::mutex> lock(m_dispatcherMutex);
        std::swap(dispatcher, m_dispatcher);
    }
    if (dispatcher == nullptr) {
        return false;
    }
    // Joined outside the lock: the job in progress may still queue an answer, which now fails.
    dispatcher->Quit();
    delete dispatcher;
    return true;
}

bool ServiceManager::_takeFromInFlight(CmdRequest* cmd) {
    std::lock_guard<std::mutex> lock(m_inFlightMutex);
    return m_commandsInFlight.erase(cmd) > 0;
}

void ServiceManager::enqueueData(const requestMsg& msg, JsonValue&& parsed) {
    // The tree has no other handle left: from here on only the worker thread touches it.
    _enqueueJob(
        [this, msg, parsed = std::move(parsed)]() mutable { processCommand(msg, &parsed); });
}
