// Routing of a finished command back to its owner, which answers the client.
#include "System/ResponseHandBack.h"

#include <exception>

#include "Log.h"
#include "Manager/DeviceManager.h"

bool handBackForResponse(DeviceManager* owner, CmdRequest* request) {
    if (owner == nullptr) {
        return false;
    }
    try {
        owner->processEnqueueForResponse(request);
    } catch (const std::exception& e) {
        LOGE("hand-back failed, command unanswered: %s", e.what());
    }
    return true;
}
