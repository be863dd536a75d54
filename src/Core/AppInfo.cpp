// Application information read from the platform's application interface.
#include "Core/AppInfo.h"

#include <cstdlib>

#include "app_common.h"

namespace {

// Takes ownership of a malloc'd platform string.
std::string adopt(char* text) {
    std::string result = text != nullptr ? text : "";
    free(text);
    return result;
}

std::string fromGetter(int (*getter)(char**)) {
    char* text = nullptr;
    if (getter(&text) != APP_ERROR_NONE) {
        free(text);
        return "";
    }
    return adopt(text);
}

}  // namespace

std::string AppInfo::GetId() {
    return fromGetter(app_get_id);
}

std::string AppInfo::GetVersion() {
    return fromGetter(app_get_version);
}

std::string AppInfo::GetDataPath() {
    return adopt(app_get_data_path());
}

std::string AppInfo::GetResourcePath() {
    return adopt(app_get_resource_path());
}

std::string AppInfo::GetSharedResourcePath() {
    return adopt(app_get_shared_resource_path());
}
