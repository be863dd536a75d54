// The default approval backend: the viewer answers on the TV screen page.
#pragma once

#include "ApprovalBackend.h"

namespace ipc_platform {

// Adds nothing to the page and the admin API but a log line that tells where to answer.
// Thread-safe (no state).
class ScreenApproval : public ApprovalBackend {
public:
    void popupPosted(NotificationCenter& center, uint64_t popupId) override;
};

}  // namespace ipc_platform
