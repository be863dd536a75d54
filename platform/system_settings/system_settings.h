// System settings: the TV's user settings (IP remote support, device name, language, country).
// Values live in one settings file in the data directory; change callbacks run on the GLib main
// loop (the default main context), whether the change came from a setter or from a hand edit of
// the file. Thread-safe.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY = 12,        // string, e.g. "en_US.UTF-8"
    SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE = 13,       // string, e.g. "en_US.UTF-8"
    SYSTEM_SETTINGS_KEY_DEVICE_NAME = 10012,        // string, the name shown to clients
    SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT = 10091,  // int, 1 = IP remote control allowed
} system_settings_key_e;

typedef enum {
    SYSTEM_SETTINGS_ERROR_NONE = 0,
    SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER = -22,  // unknown key, wrong type, NULL argument
    SYSTEM_SETTINGS_ERROR_IO_ERROR = -5,            // the settings file could not be written
    SYSTEM_SETTINGS_ERROR_NOT_READY = -11,          // the platform is not initialised
} system_settings_error_e;

typedef void (*system_settings_changed_cb)(system_settings_key_e key, void* user_data);

int system_settings_get_value_int(system_settings_key_e key, int* value);
// *value is allocated with malloc; the caller frees it.
int system_settings_get_value_string(system_settings_key_e key, char** value);

// Stores the value (the file is replaced atomically) and, when it differs, schedules the key's
// change callback on the main loop; the callback never runs inside the setter. When the file
// cannot be written the result is IO_ERROR and the previous value stays.
int system_settings_set_value_int(system_settings_key_e key, int value);
int system_settings_set_value_string(system_settings_key_e key, const char* value);

// One callback per key; setting a new one replaces the previous one.
int system_settings_set_changed_cb(system_settings_key_e key, system_settings_changed_cb callback,
                                   void* user_data);
int system_settings_unset_changed_cb(system_settings_key_e key);

#ifdef __cplusplus
}
#endif
