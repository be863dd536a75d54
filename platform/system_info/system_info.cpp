// System information C interface: forwards to the loaded product profile.
#include "system_info.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "PlatformObjects.h"
#include "ProductProfile.h"

namespace {

constexpr size_t kPrefixLength = sizeof(SYSTEM_INFO_VENDOR_PREFIX) - 1;

// Checks the arguments and the vendor prefix, then asks the profile with the key's remainder.
template <typename T, typename Lookup>
int lookupCustom(const char* key, T* value, Lookup lookup) {
    if (key == nullptr || value == nullptr) {
        return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
    }
    const auto objects = ipc_platform::currentObjects();
    if (objects == nullptr) {
        return SYSTEM_INFO_ERROR_NOT_READY;
    }
    if (strncmp(key, SYSTEM_INFO_VENDOR_PREFIX, kPrefixLength) != 0) {
        return SYSTEM_INFO_ERROR_NOT_SUPPORTED;
    }
    return lookup(*objects->profile, std::string(key + kPrefixLength), *value);
}

}  // namespace

extern "C" {

int system_info_get_custom_bool(const char* key, bool* value) {
    return lookupCustom(key, value,
                        [](const ipc_platform::ProductProfile& profile, const std::string& name,
                           bool& out) { return profile.customBool(name, out); });
}

int system_info_get_custom_int(const char* key, int* value) {
    return lookupCustom(key, value,
                        [](const ipc_platform::ProductProfile& profile, const std::string& name,
                           int& out) { return profile.customInt(name, out); });
}

int system_info_get_value_string(system_info_key_e key, char** value) {
    if (value == nullptr) {
        return SYSTEM_INFO_ERROR_INVALID_PARAMETER;
    }
    const auto objects = ipc_platform::currentObjects();
    if (objects == nullptr) {
        return SYSTEM_INFO_ERROR_NOT_READY;
    }
    std::string text;
    const int result = objects->profile->valueString(key, text);
    if (result == SYSTEM_INFO_ERROR_NONE) {
        *value = strdup(text.c_str());
    }
    return result;
}

}  // extern "C"
