// Readiness and stop notifications for a service manager.
#include "ServiceNotifier.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

// The protocol is one datagram of newline-separated assignments to the AF_UNIX socket named in
// $NOTIFY_SOCKET ('@' first for the abstract namespace); small enough not to need a library.
bool ServiceNotifier::notify(const std::string& state) {
    const char* path = getenv("NOTIFY_SOCKET");
    if (path == nullptr || (path[0] != '/' && path[0] != '@')) {
        return false;
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const size_t length = strlen(path);
    if (length >= sizeof(address.sun_path)) {
        return false;
    }
    memcpy(address.sun_path, path, length);
    if (path[0] == '@') {
        address.sun_path[0] = '\0';
    }
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return false;
    }
    const socklen_t size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
    const bool sent =
        sendto(fd, state.data(), state.size(), MSG_NOSIGNAL, reinterpret_cast<sockaddr*>(&address),
               size) == static_cast<ssize_t>(state.size());
    close(fd);
    return sent;
}
