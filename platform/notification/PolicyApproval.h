// Headless approval backends: press one button shortly after each pop-up appears, or none.
#pragma once

#include <string>

#include "ApprovalBackend.h"

namespace ipc_platform {

// Answers every pop-up with one event after kDelayMs on the main loop, or leaves it to its hide
// timeout (kNoAnswer). The viewer can still answer first on the page or through the admin API.
// Thread-safe (constant after construction).
class PolicyApproval : public ApprovalBackend {
public:
    static constexpr int kNoAnswer = -1;
    static constexpr unsigned int kDelayMs = 300;

    // label names the answer in the log.
    PolicyApproval(int event, std::string label);
    void popupPosted(NotificationCenter& center, uint64_t popupId) override;

private:
    const int m_event;
    const std::string m_label;
};

}  // namespace ipc_platform
