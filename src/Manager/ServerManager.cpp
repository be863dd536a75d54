// Network front of the service.
#include "Manager/ServerManager.h"

#include <exception>
#include <type_traits>

#include "Log.h"
#include "Server/external/IPControlServerWrapper.h"
#include "SystemInfoUtil.h"
#include "app_common.h"
#include "ipsvr.h"

namespace {
constexpr unsigned short kPortUpTo2019 = 1515;
constexpr unsigned short kPortFrom2020 = 1516;
constexpr int kLastYearOnOldPort = 19;
// The callback is handed to the library untyped; its signature is checked here instead.
static_assert(std::is_same_v<decltype(&ServerManager::onReceiveCommand), ipsvr_request_cb>,
              "onReceiveCommand must be the server library's request callback");

// Why the server could not listen, in words for whoever reads the log.
std::string listenFailure(unsigned short port, int result) {
    const std::string where = "port " + std::to_string(port);
    if (result == IPSVR_ERR_PORT_IN_USE) {
        return where + " is already in use by another program; stop it or start with --port N";
    }
    return "the JSON-RPC server cannot listen on " + where + " (error " + std::to_string(result) +
           "); start with --port N to use another";
}
}  // namespace

ServerManager::ServerManager() : m_httpServer(nullptr), m_bCreated(false) {}

ServerManager::~ServerManager() {
    destroy();
}

bool ServerManager::create() {
    if (m_bCreated) {
        LOGI("httpServer is already created");
        return true;
    }
    m_httpServer = new IPControlServerWrapper();
    m_bCreated = true;
    return true;
}

bool ServerManager::destroy() {
    if (!m_bCreated) {
        LOGI("HTTPServer has not been created. Nothing to do for destroy HTTPServer");
        return true;
    }
    m_httpServer->stop();
    delete m_httpServer;
    m_httpServer = nullptr;
    m_bCreated = false;
    LOGI("m_httpServer deleted");
    return true;
}

bool ServerManager::start() {
    if (!m_bCreated) {
        return false;
    }
    unsigned short port = getPortNum();
    int result = m_httpServer->start(port);
    // Requests reach the pipeline only once the server is up.
    m_httpServer->setCallback(reinterpret_cast<void*>(&ServerManager::onReceiveCommand), this);
    if (result == 0) {
        const unsigned short bound = m_httpServer->getPort();
        LOGI("JSON-RPC server listening on port %u", bound != 0 ? bound : port);
        return true;
    }
    // Without its port the service is no use: the host is told, and stops.
    const std::string reason = listenFailure(port, result);
    if (app_report_fatal_error(reason.c_str()) != APP_ERROR_NONE) {
        LOGE("%s", reason.c_str());
    }
    return false;
}

bool ServerManager::stop() {
    if (m_bCreated) {
        m_httpServer->stop();
    }
    return true;
}

unsigned short ServerManager::getPortNum() {
    const int given = app_get_server_port();
    if (given >= 0) {
        return static_cast<unsigned short>(given);
    }
    return SystemInfoUtil::GetTVYear() <= kLastYearOnOldPort ? kPortUpTo2019 : kPortFrom2020;
}

void ServerManager::sendResponse(unsigned int clientId, const std::string& text,
                                 bool accessDenied) {
    LOGI("session_id:%u", clientId);
    if (m_bCreated) {
        m_httpServer->sendResponse(clientId, text, accessDenied);
    }
}

std::string ServerManager::getPeerMacAddress(unsigned int clientId) {
    return m_bCreated ? m_httpServer->getPeerMacAddr(clientId) : "";
}

void ServerManager::onReceiveCommand(unsigned int clientId, const char* json, void* userData) {
    if (userData == nullptr) {
        return;
    }
    static_cast<ServerManager*>(userData)->_processJsonRequest(clientId,
                                                               json != nullptr ? json : "");
}

void ServerManager::_processJsonRequest(unsigned int clientId, const std::string& json) {
    // Nothing may unwind into the server library's C code: a request that finds the pipeline
    // unwired or stopped is refused with an empty body instead of being left unanswered.
    try {
        m_processJsonRequestHook(clientId, json);
    } catch (const std::exception& e) {
        LOGE("Exception : %s", e.what());
        sendResponse(clientId, "", true);
    }
}
