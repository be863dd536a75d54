// Texts that go to the TV screen page, which gets every text as a JSON string.
#include "Utf8Text.h"

#include <cstring>

#include <glib.h>

namespace ipc_platform {

std::string validUtf8(const char* text, size_t size) {
    if (text == nullptr) {
        return std::string();
    }
    const auto length = static_cast<gssize>(size);
    if (g_utf8_validate(text, length, nullptr)) {
        return std::string(text, size);
    }
    g_autofree gchar* valid = g_utf8_make_valid(text, length);
    return valid;
}

std::string validUtf8(const char* text) {
    return validUtf8(text, text != nullptr ? std::strlen(text) : 0);
}

}  // namespace ipc_platform
