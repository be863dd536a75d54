// Package information C interface: the service's own package and its root folder.
#include "package_info.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "app_common.h"

struct package_info_s {
    std::string rootPath;
};

extern "C" {

int package_info_create(const char* package, package_info_h* package_info) {
    if (package_info == nullptr) {
        return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
    }
    *package_info = nullptr;
    if (package == nullptr) {
        return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
    }
    char* id = nullptr;
    const bool own = app_get_id(&id) == APP_ERROR_NONE && std::strcmp(id, package) == 0;
    std::free(id);
    if (!own) {
        return PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE;
    }
    char* root = app_get_resource_path();
    if (root == nullptr) {
        return PACKAGE_MANAGER_ERROR_NOT_READY;
    }
    *package_info = new package_info_s{root};
    std::free(root);
    return PACKAGE_MANAGER_ERROR_NONE;
}

int package_info_get_root_path(package_info_h package_info, char** path) {
    if (package_info == nullptr || path == nullptr) {
        return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
    }
    *path = strdup(package_info->rootPath.c_str());
    return PACKAGE_MANAGER_ERROR_NONE;
}

int package_info_destroy(package_info_h package_info) {
    if (package_info == nullptr) {
        return PACKAGE_MANAGER_ERROR_INVALID_PARAMETER;
    }
    delete package_info;
    return PACKAGE_MANAGER_ERROR_NONE;
}

}  // extern "C"
