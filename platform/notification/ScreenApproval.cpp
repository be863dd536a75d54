// The default approval backend: the viewer answers on the TV screen page.
#include "ScreenApproval.h"

#include "PlatformLog.h"
#include "dlog.h"

namespace ipc_platform {

void ScreenApproval::popupPosted(NotificationCenter& /*center*/, uint64_t popupId) {
    dlog_print(DLOG_INFO, kLogTag, "pop-up %llu waits for the viewer on the TV screen page",
               static_cast<unsigned long long>(popupId));
}

}  // namespace ipc_platform
