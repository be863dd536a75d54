// Application information C interface: the id, the version, and the folders and ports the host
// gave.
#include "app_common.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "PlatformObjects.h"

namespace {

constexpr char kAppId[] = "com.orvane.ipcontrol";

// dir with exactly one trailing '/', then suffix; null before the platform is initialised.
char* folderPath(std::string ipc_platform::Options::*dir, const char* suffix) {
    const auto objects = ipc_platform::currentObjects();
    if (objects == nullptr) {
        return nullptr;
    }
    std::string path = objects->options.*dir;
    if (path.empty() || path.back() != '/') {
        path += '/';
    }
    path += suffix;
    return strdup(path.c_str());
}

int copyOut(const char* text, char** out) {
    if (out == nullptr) {
        return APP_ERROR_INVALID_PARAMETER;
    }
    *out = strdup(text);
    return APP_ERROR_NONE;
}

}  // namespace

extern "C" {

char* app_get_data_path(void) {
    return folderPath(&ipc_platform::Options::dataDir, "");
}

char* app_get_resource_path(void) {
    return folderPath(&ipc_platform::Options::resourceDir, "");
}

char* app_get_shared_data_path(void) {
    return folderPath(&ipc_platform::Options::dataDir, "shared/");
}

char* app_get_shared_resource_path(void) {
    return folderPath(&ipc_platform::Options::resourceDir, "shared/");
}

app_security_e app_get_security_mode(void) {
    const auto objects = ipc_platform::currentObjects();
    return objects != nullptr && objects->options.hardenedSecurity ? APP_SECURITY_HARDENED
                                                                   : APP_SECURITY_DEFAULT;
}

int app_get_server_port(void) {
    const auto objects = ipc_platform::currentObjects();
    return objects != nullptr && objects->options.port >= 0 ? objects->options.port : -1;
}

bool app_get_upnp_enabled(void) {
    const auto objects = ipc_platform::currentObjects();
    return objects == nullptr || objects->options.upnpEnabled;
}

int app_report_fatal_error(const char* reason) {
    if (reason == nullptr) {
        return APP_ERROR_INVALID_PARAMETER;
    }
    if (!ipc_platform::isInitialized()) {
        return APP_ERROR_NOT_READY;
    }
    ipc_platform::reportFatalError(reason);
    return APP_ERROR_NONE;
}

int app_get_id(char** id) {
    return copyOut(kAppId, id);
}

int app_get_version(char** version) {
    return copyOut(IPC_VERSION, version);
}

}  // extern "C"
