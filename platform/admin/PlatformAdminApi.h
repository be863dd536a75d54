// The platform's own part of the admin API: settings, the pop-up and the paired clients.
#pragma once

#include <memory>

namespace ipc_platform {

class AdminServer;
class NotificationCenter;

// Adds the state sections "settings", "product" (the profile in use), "notification", "clients"
// (the list the service handed over, paired_clients.h) and "requests" (the request log, which it
// installs for request_log_add), and the routes
//   POST   /api/notification/allow|deny|close|dismiss  (events 0, 1, 2, 100; 409 without pop-up)
//   PUT    /api/settings/<name>                         (body: the JSON value)
//   DELETE /api/clients/<MAC address>                   (revoke: {"revoked": n}; 404 for none)
//   DELETE /api/clients                                 (reset: {"remaining": 0})
// The clients routes wait for the service's handlers on the main loop (paired_clients.h); 503
// when the service is not running or the main loop did not get to them in time.
// Settings are read and written through the system settings interface, so a change made here
// runs the same change callbacks as an edit of the settings file. Main-loop only, before the
// server starts; what it adds runs on the server's callback threads and is thread-safe.
void addPlatformAdminApi(AdminServer& server,
                         const std::shared_ptr<NotificationCenter>& notifications);

}  // namespace ipc_platform
