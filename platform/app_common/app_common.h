// Application information and paths of the service. Thread-safe.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    APP_ERROR_NONE = 0,
    APP_ERROR_INVALID_PARAMETER = -22,
    APP_ERROR_NOT_READY = -11,
} app_error_e;

// Paths end with '/'; the strings are malloc'd (the caller frees them), NULL before the platform
// is initialised.
char* app_get_data_path(void);             // the --data-dir folder
char* app_get_resource_path(void);         // where the build installs data/
char* app_get_shared_resource_path(void);  // resource path + "shared/"
char* app_get_shared_data_path(void);      // data path + "shared/"

typedef enum {
    APP_SECURITY_DEFAULT = 0,   // behaves as clients expect of a TV
    APP_SECURITY_HARDENED = 1,  // --security hardened
} app_security_e;

// The security mode the host was started with; APP_SECURITY_DEFAULT before the platform is
// initialised.
app_security_e app_get_security_mode(void);

int app_get_id(char** id);            // "com.orvane.ipcontrol"
int app_get_version(char** version);  // the project version

#ifdef __cplusplus
}
#endif
