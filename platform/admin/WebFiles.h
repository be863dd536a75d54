// The files of the TV screen page: which file a URL path names, and its content type.
#pragma once

#include <string>

namespace ipc_platform {

// The file under webDir that urlPath names ("/" names index.html), or an empty string when it
// names nothing there: a missing file, a folder, a hidden name, or any way out of webDir (dot
// segments, backslashes, symbolic links leading outside). Thread-safe.
std::string resolveWebFile(const std::string& webDir, const std::string& urlPath);

// The Content-Type header of a file, by its extension. Thread-safe.
const char* webContentType(const std::string& path);

}  // namespace ipc_platform
