// KPI event log service: usage events appended to the data directory's kpi.log, one JSON
// object per line. Thread-safe.
#pragma once

#include <string>

namespace KPILogFramework {

class CLogger {
public:
    // The process's logger; null before the platform is initialised.
    static CLogger* GetInstance();

    // Appends one event; 1 on success, 0 when it could not be written.
    int AddEventLogSync(const std::string& kpiName, const std::string& eventName,
                        const std::string& eventId, const std::string& description);

    virtual ~CLogger() = default;

protected:
    CLogger() = default;
};

}  // namespace KPILogFramework
