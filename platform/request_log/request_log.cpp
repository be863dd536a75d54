// Request log C interface: forwards to the request log of the running admin server.
#include "request_log.h"

#include "RequestLog.h"

extern "C" {

int request_log_add(const request_log_entry_s* entry) {
    if (entry == nullptr) {
        return REQUEST_LOG_ERROR_INVALID_PARAMETER;
    }
    const std::shared_ptr<ipc_platform::RequestLog> log = ipc_platform::RequestLog::current();
    if (log == nullptr) {
        return REQUEST_LOG_ERROR_NOT_READY;
    }
    log->add(*entry);
    return REQUEST_LOG_ERROR_NONE;
}

}  // extern "C"
