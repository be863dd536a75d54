// Usage (KPI) events of the service, sent to the platform's KPI log service.
#pragma once

#include <string>
#include <vector>

#include "Common/KPILoggerData.h"

// Builds the short description of an event ("{svn=ipcontrol;result=Allow}" and the like) and
// sends it under the KPI name "<model year>_ip_control". Failures are logged only; an event sent
// while the platform's KPI log is unavailable is dropped.
// Process-wide, created on first use (thread-safe). sendLog() and makeDescForKPI() are
// thread-safe. The property lists are not: addPropertyName()/addPropertyValue() and the matching
// makePropertyName()/makePropertyValue() come from one thread in sequence.
class KPILogger {
public:
    static KPILogger& getInstance();

    void addPropertyName(const std::string& name);
    void addPropertyValue(const std::string& value);
    // The names (values) added so far joined with ","; the list is emptied.
    std::string makePropertyName();
    std::string makePropertyValue();

    // The description of the event; empty for a kind that carries none.
    std::string makeDescForKPI(const KPILoggerData& data);
    // Sends the event synchronously; a null name or id is sent as an empty text.
    void sendLog(const char* eventName, const char* eventId, const KPILoggerData& data);

    KPILogger(const KPILogger&) = delete;
    KPILogger& operator=(const KPILogger&) = delete;

private:
    KPILogger() = default;
    // The list joined with "," and emptied.
    static std::string _takeJoined(std::vector<std::string>& list);

    std::vector<std::string> m_propertyNames;
    std::vector<std::string> m_propertyValues;
};
