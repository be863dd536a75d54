// The choice of approval backend by mode.
#include "ApprovalBackend.h"

#include "PolicyApproval.h"
#include "ScreenApproval.h"
#include "notification.h"

namespace ipc_platform {

std::unique_ptr<ApprovalBackend> ApprovalBackend::create(const std::string& mode,
                                                         std::string& error) {
    // The viewer answers on the TV screen unless a headless mode is asked for.
    if (mode.empty() || mode == "screen") {
        return std::make_unique<ScreenApproval>();
    }
    if (mode == "allow") {
        return std::make_unique<PolicyApproval>(NOTIFICATION_EVENT_BUTTON_1, "Allow");
    }
    if (mode == "deny") {
        return std::make_unique<PolicyApproval>(NOTIFICATION_EVENT_BUTTON_2, "Deny");
    }
    if (mode == "ignore") {
        return std::make_unique<PolicyApproval>(PolicyApproval::kNoAnswer, "nothing");
    }
    error = "unknown approval mode '" + mode + "' (screen, allow, deny or ignore)";
    return nullptr;
}

}  // namespace ipc_platform
