// Application information read from the platform's application interface.
#include "AppInfoUtil.h"

#include <cstdlib>

#include "Log.h"
#include "app_common.h"
#include "package_info.h"

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

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy
std::string AppInfoUtil::GetRootPath(std::string packageName) {
    package_info_h info = nullptr;
    const int err = package_info_create(packageName.c_str(), &info);
    if (err != PACKAGE_MANAGER_ERROR_NONE || info == nullptr) {
        LOGE("package_info_create failed err[%d] package_info[%p] pkg_id[%s]", err,
             static_cast<void*>(info), packageName.c_str());
        if (info != nullptr) {
            package_info_destroy(info);
        }
        return "";
    }
    char* path = nullptr;
    std::string root;
    if (package_info_get_root_path(info, &path) == PACKAGE_MANAGER_ERROR_NONE) {
        root = adopt(path);
    }
    package_info_destroy(info);
    return root;
}
