// The paired clients as the admin API shows them, read from the plug-in's auth list file.
#pragma once

#include <string>

#include "AdminJson.h"

namespace ipc_platform {

// A JSON array of {"MacAddr", "AccessClass", "AccessToken"} with only the first six characters
// of each token followed by "…". A missing, null or broken file gives an empty array, and
// elements that are not objects are left out. Thread-safe (reads the file on each call).
JsonNodePtr readClientList(const std::string& authListPath);

}  // namespace ipc_platform
