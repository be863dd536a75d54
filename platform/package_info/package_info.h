// Package information: the installed package of the service and its root folder. Thread-safe.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    PACKAGE_MANAGER_ERROR_NONE = 0,
    PACKAGE_MANAGER_ERROR_INVALID_PARAMETER = -22,
    PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE = -2,
    PACKAGE_MANAGER_ERROR_NOT_READY = -11,
} package_manager_error_e;

typedef struct package_info_s* package_info_h;

// The one package installed is the service's own ("com.orvane.ipcontrol"); any other id is
// NO_SUCH_PACKAGE. Before the platform is initialised every id is NOT_READY. On failure
// *package_info is NULL.
int package_info_create(const char* package, package_info_h* package_info);
// The package's root folder, where its files are installed: the resource folder of
// app_get_resource_path(), ending with '/'. malloc'd; the caller frees it.
int package_info_get_root_path(package_info_h package_info, char** path);
int package_info_destroy(package_info_h package_info);

#ifdef __cplusplus
}
#endif
