// The access manager's side of the TV screen page's client list: the list shown, revoke, reset.
#pragma once

#include <vector>

#include "Manager/AuthRecord.h"

class AccessManager;

// Registers a manager's revoke and reset with the platform (paired_clients.h) and hands the
// manager's list over after every change. Stateless.
//
// Threads: attach and detach from the core's thread, never under the manager's lock (the
// platform holds its own while a handler runs, and a handler takes the manager's). show from any
// thread, under the manager's lock too: the platform guards the list with a lock no handler
// call holds.
class PairedClientsLink {
public:
    // The page's revoke and reset call the manager's revokeClient and resetAuthGroupData on the
    // main loop from now on.
    static void attach(AccessManager* manager);
    // Withdraws the handlers and the list; waits for a handler call still running.
    static void detach(AccessManager* manager);
    // The list the page shows; ignored while manager is not attached.
    static void show(AccessManager* manager, const std::vector<AuthRecord>& list);
};
