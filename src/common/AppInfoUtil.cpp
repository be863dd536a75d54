// Application information read from the platform's application interface.
#include "AppInfoUtil.h"

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

std::string AppInfoUtil::GetSharedResourcePath() {
    return adopt(app_get_shared_resource_path());
}

std::string AppInfoUtil::GetSharedDataPath() {
    return adopt(app_get_shared_data_path());
}

std::string AppInfoUtil::GetResourcePath() {
    return adopt(app_get_resource_path());
}

std::string AppInfoUtil::GetDataPath() {
    return adopt(app_get_data_path());
}

std::string AppInfoUtil::GetId() {
    return fromGetter(app_get_id);
}

std::string AppInfoUtil::GetAppVersion() {
    return fromGetter(app_get_version);
}
