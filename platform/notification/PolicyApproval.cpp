// Headless approval backends: press one button shortly after each pop-up appears, or none.
#include "PolicyApproval.h"

#include "NotificationCenter.h"
#include "PlatformLog.h"
#include "dlog.h"

namespace ipc_platform {

PolicyApproval::PolicyApproval(int event, std::string label)
    : m_event(event), m_label(std::move(label)) {}

void PolicyApproval::popupPosted(NotificationCenter& center, uint64_t popupId) {
    dlog_print(DLOG_INFO, kLogTag, "pop-up %llu: the approval mode answers %s",
               static_cast<unsigned long long>(popupId), m_label.c_str());
    if (m_event != kNoAnswer) {
        center.answerLater(popupId, m_event, kDelayMs);
    }
}

}  // namespace ipc_platform
