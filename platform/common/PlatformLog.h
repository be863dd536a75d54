// Log tag of the platform library's own lines.
#pragma once

namespace ipc_platform {

inline constexpr char kLogTag[] = "IPC_PLATFORM";

}  // namespace ipc_platform
