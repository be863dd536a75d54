// Application information of the service: id, version and the platform's application paths.
// Thread-safe (stateless; every call asks the platform).
#pragma once

#include <string>

class AppInfo {
public:
    static std::string GetId();
    static std::string GetVersion();
    // Both paths end with '/'; empty when the platform does not know them.
    static std::string GetDataPath();
    static std::string GetResourcePath();
    static std::string GetSharedResourcePath();
};
