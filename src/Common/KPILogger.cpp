// Usage events: descriptions by kind, the KPI name from the model year, the platform KPI log.
#include "Common/KPILogger.h"

#include <utility>

#include "KPILogFramework.h"
#include "Log.h"
#include "SystemInfoUtil.h"

KPILogger& KPILogger::getInstance() {
    static KPILogger instance;
    return instance;
}

void KPILogger::addPropertyName(const std::string& name) {
    m_propertyNames.push_back(name);
}

void KPILogger::addPropertyValue(const std::string& value) {
    m_propertyValues.push_back(value);
}

std::string KPILogger::makePropertyName() {
    return _takeJoined(m_propertyNames);
}

std::string KPILogger::makePropertyValue() {
    return _takeJoined(m_propertyValues);
}

std::string KPILogger::makeDescForKPI(const KPILoggerData& data) {
    std::string desc;
    switch (data.kind) {
        case KPILoggerData::CONNECTION_RESULT:
            desc = std::string("{") + "svn=" + "ipcontrol" + ";" +
                   "result=" + (data.isAllowed ? "Allow" : "Deny") + "}";
            break;
        case KPILoggerData::COMMAND:
            desc = std::string("{") + "svn=" + "ipcontrol" + ";" +
                   "cm=" + (data.isSet ? "set" : "get") + ";" + "rn=" + data.requestName + ";" +
                   "pn=" + data.propertyName + ";" + "pv=" + data.propertyValue + "}";
            break;
        case KPILoggerData::APPLICATION:
            // No service part here, on purpose.
            if (data.isSet) {
                desc = std::string("{") + "an=" + data.appName + "}";
            }
            break;
        default:
            break;
    }
    LOGI("KPI Data -> (%s)", desc.c_str());
    return desc;
}

void KPILogger::sendLog(const char* eventName, const char* eventId, const KPILoggerData& data) {
    int year = SystemInfoUtil::GetTVYear();
    LOGI("[KPI] TVYear -> (%d)", year);
    std::string kpiName = std::to_string(year) + "_ip_control";
    LOGI("[KPI] KPI Name -> (%s)", kpiName.c_str());

    // Looked up per event: the platform may come up after this object was made.
    KPILogFramework::CLogger* logger = KPILogFramework::CLogger::GetInstance();
    if (logger == nullptr) {
        return;
    }
    std::string name = eventName != nullptr ? eventName : "";
    std::string id = eventId != nullptr ? eventId : "";
    std::string desc = makeDescForKPI(data);
    if (logger->AddEventLogSync(kpiName, name, id, desc) == 1) {
        LOGI("[KPI] sending log by sync method is done successfully");
    } else {
        LOGE("[KPI] sending log bv sync method is failed");
    }
}

std::string KPILogger::_takeJoined(std::vector<std::string>& list) {
    std::string joined;
    for (size_t i = 0; i < list.size(); ++i) {
        if (i > 0) {
            joined += ",";
        }
        joined += list[i];
    }
    list.clear();
    return joined;
}
