// KPI event log service: usage events appended to the data directory's kpi.log, one JSON
// object per line. Thread-safe.
#pragma once

#include <string>

namespace KPILogFramework {

class CLogger {
public:
    // The process's logger; null before the platform is initialised.
    static CLogger* GetInstance();

    // Queues one event for kpi.log: 1 when queued (the log's writing thread writes it within
    // milliseconds; dlog_flush() waits for it), 0 when it could not be.
    int AddEventLogSync(const std::string& kpiName, const std::string& eventName,
                        const std::string& eventId, const std::string& description);

    virtual ~CLogger() = default;

protected:
    CLogger() = default;
};

}  // namespace KPILogFramework
