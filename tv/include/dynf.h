// The TV property framework ("dyn-framework"): services of typed properties that clients read
// and write asynchronously. A client creates a protocol handle, subscribes to services, and gets
// every answer, service status change and property notification on the framework's own
// callback thread, never on the caller's.
// Thread-safe: every function may be called from any thread; callbacks of one handle never run
// concurrently.
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// Result of a property request; 0 is success.
typedef int32_t dynf_error;
enum {
    DYNF_ERROR_NONE = 0,
    DYNF_ERROR_UNKNOWN = 1,            // the request failed for an unknown reason
    DYNF_ERROR_NOT_AVAILABLE = 2,      // the service cannot answer now (standby, rebooting...)
    DYNF_ERROR_NOT_SUPPORTED = 3,      // the product has no such property
    DYNF_ERROR_INVALID_VALUE = 4,      // a value outside the property's domain
    DYNF_ERROR_MALFORMED_REQUEST = 5,  // unknown property, wrong type, empty list
};

// Status of a service; 0 means available.
typedef int32_t dynf_service_status;
enum {
    DYNF_SERVICE_AVAILABLE = 0,
    DYNF_SERVICE_UNAVAILABLE = 1,
};

typedef struct dynf_protocol_s* dynf_protocol_h;
typedef struct dynf_property_s* dynf_property_h;
typedef struct dynf_property_list_s* dynf_property_list_h;

// A text owned by the framework's string functions.
typedef struct {
    char* str;
    size_t length;
} dynf_string;

typedef enum {
    DYNF_PROPERTY_INT = 0,
    DYNF_PROPERTY_BOOL = 1,
    DYNF_PROPERTY_STRING = 2,
    DYNF_PROPERTY_JSON_STRING = 3,  // a string holding a JSON text
} dynf_property_type_e;

typedef void (*dynf_service_status_cb)(dynf_protocol_h handle, const char* service_name,
                                       dynf_service_status status, void* user_data);
typedef void (*dynf_noti_cb)(dynf_protocol_h handle, const char* service_name,
                             dynf_property_list_h properties, void* user_data);
// result is the answered property list (owned by the framework, valid during the call): NULL
// when error is not 0; otherwise, with flags 2, the current values of the requested properties in
// the request's order (after a set, the new values), and without it an empty list.
typedef void (*dynf_result_cb)(dynf_protocol_h handle, dynf_error error,
                               dynf_property_list_h result, void* user_data);

// Strings. A dynf_string starts as {NULL, 0}. set replaces the text with a copy of text (0, or
// DYNF_ERROR_MALFORMED_REQUEST for a NULL argument); clear frees it.
int dynf_string_set(dynf_string* string, const char* text);
void dynf_string_clear(dynf_string* string);

// Unless said otherwise, int results are 0 or a dynf_error.

// Protocol handles. NULL when the framework is not running.
dynf_protocol_h dynf_protocol_create(dynf_service_status_cb status_cb, dynf_noti_cb noti_cb,
                                     void* user_data);
// Drops the handle's pending callbacks, waits until none of its callbacks is running (from inside
// one of its own callbacks it does not wait), then frees it: no callback of the handle starts
// after it returns. Requests already accepted are still carried out by the service.
int dynf_protocol_destroy(dynf_protocol_h handle);
// After subscribing, the service's status is reported once if it is not available, and then at
// every change; property notifications of the service follow. Subscriptions are counted: each
// subscribe needs its unsubscribe, and events come once per handle.
int dynf_protocol_subscribe_service(dynf_protocol_h handle, const char* service_name);
int dynf_protocol_unsubscribe_service(dynf_protocol_h handle, const char* service_name);
// Start one asynchronous read or write of the properties in the list. The framework takes the
// list over in every case (the caller must not use or free it afterwards). flags: 2 = answer
// with the properties' values. Returns 0 when the request was accepted, and then result_cb runs
// exactly once on the callback thread; any other result means it will never run.
int dynf_protocol_get_property(dynf_protocol_h handle, const char* service_name,
                               dynf_property_list_h properties, dynf_result_cb result_cb, int flags,
                               uint32_t* request_id, void* user_data);
int dynf_protocol_set_property(dynf_protocol_h handle, const char* service_name,
                               dynf_property_list_h properties, dynf_result_cb result_cb, int flags,
                               uint32_t* request_id, void* user_data);

// Properties. The create functions answer NULL for a NULL name or value. destroy leaves a
// property that a list holds to that list.
dynf_property_h dynf_property_create_int(const char* name, int value);
dynf_property_h dynf_property_create_bool(const char* name, bool value);
dynf_property_h dynf_property_create_string(const char* name, const char* value);
dynf_property_h dynf_property_create_json_string(const char* name, const char* json);
void dynf_property_destroy(dynf_property_h property);
const char* dynf_property_get_name(dynf_property_h property);
dynf_property_type_e dynf_property_get_type(dynf_property_h property);
int dynf_property_get_int(dynf_property_h property, int* value);
int dynf_property_get_bool(dynf_property_h property, bool* value);
// *value points into the property; valid while the property lives.
int dynf_property_get_string(dynf_property_h property, const char** value);

// Lists own the properties pushed onto them. A property already held by a list is refused by
// push (the caller keeps it).
dynf_property_list_h dynf_property_list_create(void);
void dynf_property_list_destroy(dynf_property_list_h list);
int dynf_property_list_push(dynf_property_list_h list, dynf_property_h property);
size_t dynf_property_list_size(dynf_property_list_h list);
dynf_property_h dynf_property_list_get(dynf_property_list_h list, size_t index);
// NULL when the list holds no property of that name.
dynf_property_h dynf_property_list_find(dynf_property_list_h list, const char* name);

#ifdef __cplusplus
}
#endif
