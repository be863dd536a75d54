// Application id, version and folders of the service, as the platform reports them.
// Thread-safe (stateless).
#pragma once

#include <string>

class AppInfoUtil {
public:
    // Folders end with '/'; an empty text when the platform does not know them.
    static std::string GetSharedResourcePath();
    static std::string GetSharedDataPath();
    static std::string GetResourcePath();
    static std::string GetDataPath();
    static std::string GetId();
    static std::string GetAppVersion();
    // The root folder of the installed package of that id; "" when the platform knows no such
    // package.
    static std::string GetRootPath(std::string packageName);
};
