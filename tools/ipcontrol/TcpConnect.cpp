// Non-blocking connect() and poll() against one deadline for every address of the host.
#include "TcpConnect.h"

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

using Clock = std::chrono::steady_clock;

bool writableBefore(int fd, Clock::time_point deadline) {
    pollfd p = {fd, POLLOUT, 0};
    int ready;
    do {
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        ready = poll(&p, 1, static_cast<int>(std::max<long long>(0, left.count())));
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

}  // namespace

int connectWithin(const std::string& host, unsigned short port, std::chrono::milliseconds timeout,
                  std::string& reason) {
    addrinfo hints = {};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo* addresses = nullptr;
    int rc = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &addresses);
    if (rc != 0) {
        reason = std::string("unknown host: ") + gai_strerror(rc);
        return -1;
    }
    const auto deadline = Clock::now() + timeout;
    int fd = -1;
    reason = "no address";
    for (addrinfo* a = addresses; a != nullptr && fd < 0; a = a->ai_next) {
        fd = socket(a->ai_family, a->ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, a->ai_protocol);
        if (fd < 0) {
            reason = strerror(errno);
            continue;
        }
        int error = 0;
        socklen_t length = sizeof error;
        if (::connect(fd, a->ai_addr, a->ai_addrlen) == 0) {
            break;
        }
        // NOLINTNEXTLINE(bugprone-branch-clone): one branch per step that can fail
        if (errno != EINPROGRESS) {
            error = errno;
        } else if (!writableBefore(fd, deadline)) {
            error = ETIMEDOUT;
        } else if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length) != 0) {
            error = errno;
        }
        if (error != 0) {
            reason = strerror(error);
            close(fd);
            fd = -1;
        }
    }
    freeaddrinfo(addresses);
    return fd;
}
