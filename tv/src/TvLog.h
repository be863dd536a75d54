// Log tag of the virtual TV's own lines.
#pragma once

#include "dlog.h"

namespace ipc_tv {

inline constexpr char kLogTag[] = "IPC_TV";

}  // namespace ipc_tv
