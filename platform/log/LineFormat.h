// printf formatting of log lines, cheaper than vsnprintf for the conversions lines use.
#pragma once

#include <cstdarg>
#include <cstddef>

namespace ipc_platform {

// vsnprintf's contract and output: writes at most size - 1 characters and a NUL, returns the
// length of the whole text (or -1). %s, %c, %p, %% and the integer conversions with '-', '0'
// and a width are written directly; a format with anything else goes to vsnprintf. Any thread.
int formatLine(char* out, size_t size, const char* fmt, va_list ap);

}  // namespace ipc_platform
