// Network front of the service.
#include "Manager/ServerManager.h"

ServerManager::~ServerManager() = default;

ServerManager::ServerManager(bool enabled) : m_bEnabled(enabled) {}

bool ServerManager::create() {
    return true;
}

bool ServerManager::destroy() {
    return true;
}

bool ServerManager::start() {
    return m_bEnabled;
}

bool ServerManager::stop() {
    return true;
}
