// Start and stop of the virtual TV inside the host process.
#pragma once

#include <string>

#include "PlatformRuntime.h"

namespace ipc_tv {

// Checks the "tv" section of the profile the options designate, so that the host can refuse a
// bad one before anything starts. False with error as start() would set it; true as well when
// the profile itself does not load (initialize reports that). Thread-safe.
bool checkProfile(const ipc_platform::Options& options, std::string& error);

// Brings the TV up on the initialised platform: reads the profile's "tv" section, restores
// <dataDir>/tv-state.json, starts the framework's callback thread and, when the platform runs
// the admin server, adds the "tv" state section and the /api/tv/ routes. From then on
// dynf_protocol_create answers handles. On failure (the platform is not initialised, the TV
// already runs, the profile's "tv" section is wrong) returns false with error set to one line
// naming the file. Main-loop only, after ipc_platform::initialize.
bool start(std::string& error);

// Stops the TV: the callback thread ends, pending results are dropped, open handles are refused
// from now on and dynf_protocol_create answers NULL. Main-loop only, before
// ipc_platform::shutdown; never from a framework callback.
void stop();

}  // namespace ipc_tv
