// The virtual TV of the running process, for the framework's functions and the admin API.
#pragma once

#include <memory>
#include <string>

namespace ipc_tv {

class PropertySchema;
class VirtualTv;

// The running TV; null before start and after stop. Thread-safe: the result stays usable while
// held, even across stop.
std::shared_ptr<VirtualTv> currentTv();

// start() with another schema than the TV's own (tests of schema rules). Main-loop only.
bool startWithSchema(const PropertySchema& schema, std::string& error);

}  // namespace ipc_tv
