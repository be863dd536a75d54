// One-line error texts about a file.
#pragma once

#include <string>

namespace ipc_platform {

// "<path>: <message>", or the message alone when it already names the file.
inline std::string fileError(const std::string& path, const std::string& message) {
    return message.find(path) != std::string::npos ? message : path + ": " + message;
}

}  // namespace ipc_platform
