// Key-value store C interface: forwards to the platform's key-value store.
#include "vconf.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "KeyValueStore.h"
#include "PlatformObjects.h"

namespace {

std::shared_ptr<ipc_platform::KeyValueStore> currentStore() {
    const auto objects = ipc_platform::currentObjects();
    return objects != nullptr ? objects->keyValues : nullptr;
}

}  // namespace

extern "C" {

char* vconf_get_str(const char* key) {
    const auto store = currentStore();
    std::string value;
    if (key == nullptr || store == nullptr || !store->get(key, value)) {
        return nullptr;
    }
    return strdup(value.c_str());
}

int vconf_set_str(const char* key, const char* value) {
    const auto store = currentStore();
    if (key == nullptr || value == nullptr || store == nullptr) {
        return -1;
    }
    return store->set(key, value) ? 0 : -1;
}

int vconf_unset(const char* key) {
    const auto store = currentStore();
    if (key == nullptr || store == nullptr) {
        return -1;
    }
    return store->unset(key) ? 0 : -1;
}

int vconf_notify_key_changed(const char* key, vconf_callback_fn cb, void* user_data) {
    const auto store = currentStore();
    if (key == nullptr || cb == nullptr || store == nullptr) {
        return -1;
    }
    store->watch(key, cb, user_data);
    return 0;
}

int vconf_ignore_key_changed(const char* key, vconf_callback_fn cb) {
    const auto store = currentStore();
    if (key == nullptr || cb == nullptr || store == nullptr) {
        return -1;
    }
    return store->unwatch(key, cb) ? 0 : -1;
}

}  // extern "C"
