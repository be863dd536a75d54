// Tells a service manager that started the daemon (systemd's notify protocol) when it is ready
// and when it stops; does nothing when $NOTIFY_SOCKET is not set. Main thread.
#pragma once

#include <string>

class ServiceNotifier {
public:
    // "READY=1", "STOPPING=1", "STATUS=..." lines, sent as one datagram.
    static bool notify(const std::string& state);
};
