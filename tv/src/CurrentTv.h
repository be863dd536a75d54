// The virtual TV of the running process, for the framework's functions and the admin API.
#pragma once

#include <memory>

namespace ipc_tv {

class VirtualTv;

// The running TV; null before start and after stop. Thread-safe: the result stays usable while
// held, even across stop.
std::shared_ptr<VirtualTv> currentTv();

}  // namespace ipc_tv
