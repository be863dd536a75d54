// Reading of the platform's JSON files (product profiles, the key-value store). Thread-safe.
#pragma once

#include <string>

typedef struct _JsonParser JsonParser;

namespace ipc_platform {

// Parses the file at path, whose top level must be an object. Returns the parser that owns the
// tree (the caller releases it with g_object_unref), or null with error set to one line naming
// the file and the reason.
JsonParser* parseJsonObjectFile(const std::string& path, std::string& error);

}  // namespace ipc_platform
