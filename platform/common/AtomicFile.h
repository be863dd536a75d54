// Whole-file replacement that readers and crashes never see half done. Thread-safe.
#pragma once

#include <string>

namespace ipc_platform {

// Writes contents to a temporary file beside path, flushes it to disk and renames it over path.
// On failure returns false and sets error to one line that names the file.
bool replaceFileContents(const std::string& path, const std::string& contents, std::string& error);

}  // namespace ipc_platform
