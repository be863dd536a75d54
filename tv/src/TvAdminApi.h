// The virtual TV's part of the admin API: the "tv" state section and the /api/tv/ routes.
#pragma once

namespace ipc_platform {
class AdminServer;
}

namespace ipc_tv {

// Adds the state section "tv" (null while the TV is stopped) and the routes
//   PUT /api/tv/knobs         object: latencyMs, jitterMs, rebootMs, failNext, tv/wall availability
//   PUT /api/tv/power         "on", "off" or "reboot", as the remote's power button
//   PUT /api/tv/ambientMode   0 to 3
//   PUT /api/tv/speakers      the whole new list of external speakers
//   PUT /api/tv/usbDevices    the whole new list of USB devices
//   PUT /api/tv/testWallMode  true or false, into the plug-in's flags in the key-value store
// A refused body answers 400 and changes nothing. Power works while the service is marked down,
// as the remote's button does; a change the TV cannot take (restarting, off, or a feature this
// product lacks) answers 409. The routes reach the running TV when they run. Main-loop only;
// what it adds runs on the server's connection threads and is thread-safe.
void addTvAdminApi(ipc_platform::AdminServer& server);

}  // namespace ipc_tv
