// The exported C functions: one server per process, a registered callback, and tuning.
#include "ipsvr.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "HttpServer.h"
#include "PeerMac.h"

namespace {

constexpr unsigned int kDefaultResponseTimeoutMs = 60000;

// Serialises ipsvr_start and ipsvr_stop; held while a server starts or winds down.
std::mutex g_lifecycleMutex;
// Protects g_server only, and is held just long enough to copy it, so that answers can be sent
// (from any thread, the callback included) while a stop is under way.
std::mutex g_serverMutex;
std::shared_ptr<ipsvr::HttpServer> g_server;

// Protects g_callback and g_userData.
std::mutex g_callbackMutex;
ipsvr_request_cb g_callback = nullptr;
void* g_userData = nullptr;

std::atomic<unsigned int> g_responseTimeoutMs{kDefaultResponseTimeoutMs};

// Set on the server thread while the callback runs: starting or stopping from there would
// make the server thread wait for itself.
thread_local bool t_inCallback = false;

std::shared_ptr<ipsvr::HttpServer> currentServer() {
    std::lock_guard<std::mutex> lock(g_serverMutex);
    return g_server;
}

bool deliver(unsigned int clientId, const char* body) {
    ipsvr_request_cb callback = nullptr;
    void* userData = nullptr;
    {
        std::lock_guard<std::mutex> lock(g_callbackMutex);
        callback = g_callback;
        userData = g_userData;
    }
    if (callback == nullptr) {
        return false;
    }
    t_inCallback = true;
    callback(clientId, body, userData);
    t_inCallback = false;
    return true;
}

}  // namespace

extern "C" {

int ipsvr_start(unsigned short port) {
    if (t_inCallback) {
        return IPSVR_ERR_WRONG_THREAD;
    }
    std::lock_guard<std::mutex> lifecycle(g_lifecycleMutex);
    if (currentServer()) {
        return IPSVR_ERR_ALREADY_STARTED;
    }
    auto server = std::make_shared<ipsvr::HttpServer>(
        deliver, std::chrono::milliseconds(g_responseTimeoutMs.load()));
    if (const int error = server->start(port); error != 0) {
        return error == EADDRINUSE ? IPSVR_ERR_PORT_IN_USE : IPSVR_ERR_LISTEN;
    }
    std::lock_guard<std::mutex> lock(g_serverMutex);
    g_server = std::move(server);
    return IPSVR_OK;
}

int ipsvr_stop(void) {
    if (t_inCallback) {
        return IPSVR_ERR_WRONG_THREAD;
    }
    std::lock_guard<std::mutex> lifecycle(g_lifecycleMutex);
    std::shared_ptr<ipsvr::HttpServer> server;
    {
        std::lock_guard<std::mutex> lock(g_serverMutex);
        server.swap(g_server);
    }
    if (server) {
        server->stop();
    }
    return IPSVR_OK;
}

int ipsvr_sendResponse(unsigned int clientId, const char* text, bool accessDenied) {
    std::shared_ptr<ipsvr::HttpServer> server = currentServer();
    if (!server) {
        return IPSVR_ERR_NOT_STARTED;
    }
    std::string body = text != nullptr ? text : "";
    ipsvr::Reply reply = accessDenied ? ipsvr::Reply::refusal(std::move(body))
                                      : ipsvr::Reply::answer(std::move(body));
    return server->respond(clientId, std::move(reply)) ? IPSVR_OK : IPSVR_ERR_UNKNOWN_CLIENT;
}

int ipsvr_getPeerMacAddr(unsigned int clientId, char* outBuffer) {
    if (outBuffer == nullptr) {
        return IPSVR_ERR_INVALID_ARGUMENT;
    }
    outBuffer[0] = '\0';
    std::shared_ptr<ipsvr::HttpServer> server = currentServer();
    if (!server) {
        return IPSVR_ERR_NOT_STARTED;
    }
    std::optional<sockaddr_storage> peer = server->peerOf(clientId);
    if (!peer) {
        return IPSVR_ERR_UNKNOWN_CLIENT;
    }
    std::string mac = ipsvr::lookUpPeerMac(*peer);
    if (mac.empty()) {
        return IPSVR_ERR_NO_MAC;
    }
    std::memcpy(outBuffer, mac.c_str(), mac.size() + 1);
    return IPSVR_OK;
}

int ipsvr_setCallback(ipsvr_request_cb callback, void* userData) {
    std::lock_guard<std::mutex> lock(g_callbackMutex);
    g_callback = callback;
    g_userData = userData;
    return IPSVR_OK;
}

int ipsvr_setResponseTimeoutMs(unsigned int milliseconds) {
    unsigned int timeout = milliseconds != 0 ? milliseconds : kDefaultResponseTimeoutMs;
    g_responseTimeoutMs = timeout;
    if (std::shared_ptr<ipsvr::HttpServer> server = currentServer()) {
        server->setResponseTimeout(std::chrono::milliseconds(timeout));
    }
    return IPSVR_OK;
}

int ipsvr_getPort(void) {
    std::shared_ptr<ipsvr::HttpServer> server = currentServer();
    return server ? server->port() : IPSVR_ERR_NOT_STARTED;
}

}  // extern "C"
