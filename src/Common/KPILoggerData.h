// One usage event as a caller describes it to the KPI logger.
#pragma once

#include <cstdint>
#include <string>

// Filled by the sender and read by KPILogger::makeDescForKPI(); a plain value.
struct KPILoggerData {
    enum Kind : int32_t {
        CONNECTION_RESULT = 0,  // the viewer's decision on a client
        COMMAND = 1,            // a get or set command
        APPLICATION = 2,        // an application launch
    };

    int32_t kind = CONNECTION_RESULT;
    bool isSet = false;         // COMMAND: a set; APPLICATION: appName is present
    bool isAllowed = false;     // CONNECTION_RESULT: Allow (true) or Deny
    std::string requestName;    // COMMAND: the method name
    std::string propertyName;   // COMMAND: the property names, comma-separated
    std::string propertyValue;  // COMMAND: the property values, comma-separated
    std::string appName;        // APPLICATION: the application
};
