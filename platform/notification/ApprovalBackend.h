// How pairing pop-ups are answered besides the viewer: the --approval mode of the host.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace ipc_platform {

class NotificationCenter;

// One backend per notification center. Every backend leaves the pop-up on the TV screen page
// and in the admin API, where it can be answered; a backend only adds what happens on its own.
// Thread-safe: popupPosted is called from the posting thread and must not block.
class ApprovalBackend {
public:
    virtual ~ApprovalBackend() = default;

    // Called right after pop-up popupId went on screen.
    virtual void popupPosted(NotificationCenter& center, uint64_t popupId) = 0;

    // The backend of a mode: "screen" (also for an empty mode), "allow", "deny" or "ignore".
    // Null with error set for any other mode; there is no fallback, the host checks the mode.
    static std::unique_ptr<ApprovalBackend> create(const std::string& mode, std::string& error);
};

}  // namespace ipc_platform
