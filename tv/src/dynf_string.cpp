// The framework's string functions.
#include <cstdlib>
#include <cstring>

#include "dynf.h"

extern "C" {

int dynf_string_set(dynf_string* string, const char* text) {
    if (string == nullptr || text == nullptr) {
        return DYNF_ERROR_MALFORMED_REQUEST;
    }
    char* copy = strdup(text);
    if (copy == nullptr) {
        return DYNF_ERROR_UNKNOWN;
    }
    free(string->str);
    string->str = copy;
    string->length = strlen(copy);
    return DYNF_ERROR_NONE;
}

void dynf_string_clear(dynf_string* string) {
    if (string == nullptr) {
        return;
    }
    free(string->str);
    string->str = nullptr;
    string->length = 0;
}

}  // extern "C"
