// Texts that go to the TV screen page, which gets every text as a JSON string.
#pragma once

#include <cstddef>
#include <string>

namespace ipc_platform {

// The text as it is when it is UTF-8; otherwise with each invalid sequence replaced by U+FFFD.
// Null gives "".
std::string validUtf8(const char* text, size_t size);
std::string validUtf8(const char* text);
inline std::string validUtf8(const std::string& text) {
    return validUtf8(text.data(), text.size());
}

}  // namespace ipc_platform
