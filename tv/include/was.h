// Application-title lookup: the store application id of a run title (for example "Netflix").
// Thread-safe. Served by the TV's application catalogue.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// 0 and a malloc'd id (the caller frees it) for a known run title; negative otherwise.
int was_get_appid_by_runtitle(const char* run_title, char** app_id);

#ifdef __cplusplus
}
#endif
