// The log's part of the admin API: the recent log lines.
#pragma once

namespace ipc_platform {

class AdminServer;

// Adds the state section "log" ({"last": sequence number of the latest line}, so that the page
// knows when to fetch) and the route
//   GET /api/log?level=debug|info|warn|error   (default info)
// answering {"lines": [{"seq", "time", "level", "tag", "text"}]}, oldest first, with the recent
// lines at or above the level (time in ms since the epoch); 400 for another level. New lines
// publish the state. Main-loop only, before the server starts; what it adds is thread-safe.
void addLogAdminApi(AdminServer& server);

}  // namespace ipc_platform
