// Test support: an SSDP group member and an event callback server on the loopback interface.
#include "support/UpnpPeers.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace testsupport {

namespace {

sockaddr_in ssdpGroup() {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(1900);
    inet_pton(AF_INET, "239.255.255.250", &address.sin_addr);
    return address;
}

}  // namespace

SsdpListener::SsdpListener() {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    m_socket.adopt(fd);
    const int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    setsockopt(fd, SOL_SOCKET, SO_REUSEPORT, &on, sizeof on);
    sockaddr_in address = ssdpGroup();
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    ip_mreqn group = {};
    group.imr_multiaddr = ssdpGroup().sin_addr;
    group.imr_address.s_addr = htonl(INADDR_LOOPBACK);
    m_ok = bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
           setsockopt(fd, IPPROTO_IP, IP_ADD_MEMBERSHIP, &group, sizeof group) == 0;
}

std::map<std::string, SsdpListener::Headers> SsdpListener::collect(
    const std::string& nts, const std::string& uuid, const std::set<std::string>& wanted,
    std::chrono::milliseconds wait) {
    const auto deadline = std::chrono::steady_clock::now() + wait;
    std::map<std::string, Headers> seen;
    while (seen.size() < wanted.size()) {
        const auto left = std::chrono::duration_cast<HttpClient::Timeout>(
            deadline - std::chrono::steady_clock::now());
        // One datagram is read as one head.
        std::optional<HttpResponse> message = left.count() > 0 ? m_socket.read(left) : std::nullopt;
        if (!message) {
            break;
        }
        if (message->header("nts") == nts && message->header("usn").rfind("uuid:" + uuid, 0) == 0 &&
            wanted.count(message->header("nt")) != 0) {
            seen[message->header("nt")] = message->headers;
        }
    }
    return seen;
}

CallbackListener::CallbackListener() : m_fd(holdLoopbackPort(m_port, true)) {}

CallbackListener::~CallbackListener() {
    if (m_fd >= 0) {
        close(m_fd);
    }
}

std::optional<HttpResponse> CallbackListener::receive(int timeoutMs) {
    pollfd p = {m_fd, POLLIN, 0};
    if (poll(&p, 1, timeoutMs) != 1) {
        return std::nullopt;
    }
    HttpClient connection;
    connection.adopt(accept4(m_fd, nullptr, nullptr, SOCK_CLOEXEC));
    std::optional<HttpResponse> request = connection.read();
    connection.send("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
    return request;
}

}  // namespace testsupport
