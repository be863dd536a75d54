// The one logging macro of the plug-in: tag, level and the "file : function(line)  " prefix.
// Thread-safe (the platform log serialises lines).
#pragma once

#include "LogSite.h"
#include "dlog.h"

// Each target defines LOG_TAG (and LOG_PREFIX when its prefix differs); these are the service's.
#ifndef LOG_TAG
#define LOG_TAG "DYNF_IPCONTROL"
#endif
#ifndef LOG_PREFIX
#define LOG_PREFIX "%s : %s(%d)  "
#endif

// The prefix is formatted once per call site (a static of the site's lambda), not for every
// line: that was a third of the cost of formatting a line.
#define IPC_LOG_SITE()                                                            \
    ([](const char* function) {                                                   \
        static const char* const site =                                           \
            common::logSitePrefix(LOG_PREFIX, __FILE_NAME__, function, __LINE__); \
        return site;                                                              \
    }(__func__))

#define IPC_LOG(prio, fmt, ...) dlog_print((prio), LOG_TAG, "%s" fmt, IPC_LOG_SITE(), ##__VA_ARGS__)

#define LOGD(fmt, ...) IPC_LOG(DLOG_DEBUG, fmt, ##__VA_ARGS__)
#define LOGI(fmt, ...) IPC_LOG(DLOG_INFO, fmt, ##__VA_ARGS__)
#define LOGE(fmt, ...) IPC_LOG(DLOG_ERROR, fmt, ##__VA_ARGS__)
