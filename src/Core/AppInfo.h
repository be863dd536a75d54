// Application information of the service for the core and the managers; the common library's
// AppInfoUtil answers it. Thread-safe (stateless).
#pragma once

#include <string>

#include "AppInfoUtil.h"

class AppInfo {
public:
    static std::string GetId() { return AppInfoUtil::GetId(); }
    static std::string GetVersion() { return AppInfoUtil::GetAppVersion(); }
    // Both paths end with '/'; empty when the platform does not know them.
    static std::string GetDataPath() { return AppInfoUtil::GetDataPath(); }
    static std::string GetResourcePath() { return AppInfoUtil::GetResourcePath(); }
};
