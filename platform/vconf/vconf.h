// Key-value store: string values under string keys, persisted in the data directory.
// Every change replaces the store's file atomically. Thread-safe.
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

#ifdef __cplusplus
}
#endif
