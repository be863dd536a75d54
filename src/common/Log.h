// The one logging macro of the plug-in: tag, level and the "file : function(line)  " prefix.
// Thread-safe (the platform log serialises lines).
#pragma once

#include "dlog.h"

// Each target defines LOG_TAG (and LOG_PREFIX when its prefix differs); these are the service's.
#ifndef LOG_TAG
#define LOG_TAG "DYNF_IPCONTROL"
#endif
#ifndef LOG_PREFIX
#define LOG_PREFIX "%s : %s(%d)  "
#endif

#define IPC_LOG(prio, fmt, ...) \
    dlog_print((prio), LOG_TAG, LOG_PREFIX fmt, __FILE_NAME__, __func__, __LINE__, ##__VA_ARGS__)

#define LOGD(fmt, ...) IPC_LOG(DLOG_DEBUG, fmt, ##__VA_ARGS__)
#define LOGI(fmt, ...) IPC_LOG(DLOG_INFO, fmt, ##__VA_ARGS__)
#define LOGE(fmt, ...) IPC_LOG(DLOG_ERROR, fmt, ##__VA_ARGS__)
