// Key-value store: string values under string keys, persisted in the data directory.
// Every change replaces the store's file atomically. Thread-safe; change callbacks run on the
// GLib main loop (the default main context).
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// The stored text (malloc'd, the caller frees it), or NULL when the key is absent.
char* vconf_get_str(const char* key);
// 0 on success, -1 on failure (NULL argument, store not ready, file not written).
int vconf_set_str(const char* key, const char* value);
// 0 when the key is gone afterwards, -1 on failure.
int vconf_unset(const char* key);

typedef void (*vconf_callback_fn)(const char* key, void* user_data);
// Runs cb on the main loop after every change of the key's value (set to a different value, or
// removed), whichever thread made it; never inside vconf_set_str or vconf_unset. The callback is
// looked up when it runs, so one ignored meanwhile is not called. Registering the same key and
// callback again replaces user_data. 0 on success, -1 on failure (NULL argument, store not
// ready). Platform shutdown drops every callback.
int vconf_notify_key_changed(const char* key, vconf_callback_fn cb, void* user_data);
// 0 when cb was registered for key, -1 otherwise.
int vconf_ignore_key_changed(const char* key, vconf_callback_fn cb);

#ifdef __cplusplus
}
#endif
