// Access manager: decides which network clients may control the TV.
#include "Manager/AccessManager.h"

AccessManager::~AccessManager() = default;

bool AccessManager::create() {
    return true;
}

bool AccessManager::destroy() {
    return true;
}
