// Application information of the service: paths, ports and switches the host gave. Thread-safe
// unless a function says otherwise.
#pragma once

#ifndef __cplusplus
#include <stdbool.h>
#endif

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

// The JSON-RPC port the host was told to use: -1 when the service chooses it by the model year
// (also before the platform is initialised), 0 for any free port.
int app_get_server_port(void);

// Whether the service announces itself over UPnP; off when the host runs it without UPnP (a
// second service on one machine, a test). True before the platform is initialised.
bool app_get_upnp_enabled(void);

// Reports a reason without which the service is no use (a port it cannot listen on), one
// sentence that says what to do: it is logged as an error and the host stops with status 1.
// APP_ERROR_NOT_READY before the platform is initialised, when nothing is reported; the caller
// logs the reason itself then. Main-loop thread.
int app_report_fatal_error(const char* reason);

int app_get_id(char** id);            // "com.orvane.ipcontrol"
int app_get_version(char** version);  // the project version

#ifdef __cplusplus
}
#endif
