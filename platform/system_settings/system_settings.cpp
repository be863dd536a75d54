// System settings C interface: forwards to the platform's settings store.
#include "system_settings.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "PlatformObjects.h"
#include "SettingsStore.h"

namespace {

std::shared_ptr<ipc_platform::SettingsStore> currentStore() {
    const auto objects = ipc_platform::currentObjects();
    return objects != nullptr ? objects->settings : nullptr;
}

// Runs call on the current store, or answers NOT_READY when there is none.
template <typename Call>
int withStore(Call call) {
    const auto store = currentStore();
    return store != nullptr ? call(*store) : SYSTEM_SETTINGS_ERROR_NOT_READY;
}

}  // namespace

extern "C" {

int system_settings_get_value_int(system_settings_key_e key, int* value) {
    if (value == nullptr) {
        return SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER;
    }
    return withStore([&](ipc_platform::SettingsStore& store) { return store.getInt(key, *value); });
}

int system_settings_get_value_string(system_settings_key_e key, char** value) {
    if (value == nullptr) {
        return SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER;
    }
    return withStore([&](ipc_platform::SettingsStore& store) {
        std::string text;
        const int result = store.getString(key, text);
        if (result == SYSTEM_SETTINGS_ERROR_NONE) {
            *value = strdup(text.c_str());
        }
        return result;
    });
}

int system_settings_set_value_int(system_settings_key_e key, int value) {
    return withStore([&](ipc_platform::SettingsStore& store) { return store.set(key, value); });
}

int system_settings_set_value_string(system_settings_key_e key, const char* value) {
    if (value == nullptr) {
        return SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER;
    }
    return withStore(
        [&](ipc_platform::SettingsStore& store) { return store.set(key, std::string(value)); });
}

int system_settings_set_changed_cb(system_settings_key_e key, system_settings_changed_cb callback,
                                   void* user_data) {
    return withStore([&](ipc_platform::SettingsStore& store) {
        return store.setChangedCallback(key, callback, user_data);
    });
}

int system_settings_unset_changed_cb(system_settings_key_e key) {
    return withStore(
        [&](ipc_platform::SettingsStore& store) { return store.unsetChangedCallback(key); });
}

}  // extern "C"
