// The platform's own part of the admin API: settings, the pop-up and the paired clients.
#pragma once

#include <memory>
#include <string>

namespace ipc_platform {

class AdminServer;
class NotificationCenter;

// Adds the state sections "settings", "notification" and "clients", and the routes
//   POST /api/notification/allow|deny|close|dismiss  (events 0, 1, 2, 100; 409 without pop-up)
//   PUT  /api/settings/<name>                         (body: the JSON value)
// Settings are read and written through the system settings interface, so a change made here
// runs the same change callbacks as an edit of the settings file. Main-loop only, before the
// server starts; what it adds runs on the server's callback threads and is thread-safe.
void addPlatformAdminApi(AdminServer& server, std::shared_ptr<NotificationCenter> notifications,
                         const std::string& dataDir);

}  // namespace ipc_platform
