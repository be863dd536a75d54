// System information: product facts and feature keys, answered from the product profile.
// Thread-safe; the profile is read once at start.
#pragma once

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

// Every custom key starts with the vendor prefix, e.g.
// SYSTEM_INFO_VENDOR_PREFIX "featureconf/product.tv_year".
#define SYSTEM_INFO_VENDOR_PREFIX "com.orvane/"

typedef enum {
    SYSTEM_INFO_KEY_SW_VERSION = 128,
    SYSTEM_INFO_KEY_SERIAL_NUMBER = 187,
    SYSTEM_INFO_KEY_PRODUCT_CODE_SW = 291,
} system_info_key_e;

typedef enum {
    SYSTEM_INFO_ERROR_NONE = 0,
    SYSTEM_INFO_ERROR_INVALID_PARAMETER = -22,  // NULL argument, or the key holds another type
    SYSTEM_INFO_ERROR_NOT_SUPPORTED = -95,      // the product has no such key
    SYSTEM_INFO_ERROR_NOT_READY = -11,          // the platform is not initialised
} system_info_error_e;

int system_info_get_custom_bool(const char* key, bool* value);
int system_info_get_custom_int(const char* key, int* value);
// *value is allocated with malloc; the caller frees it.
int system_info_get_value_string(system_info_key_e key, char** value);

#ifdef __cplusplus
}
#endif
