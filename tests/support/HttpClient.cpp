// Test support: a raw-socket HTTP/1.1 client, one connection, bounded waits.
#include "support/HttpClient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>

namespace testsupport {

HttpClient::~HttpClient() {
    close();
}

bool HttpClient::connect(unsigned short port, int family) {
    close();
    sockaddr_in v4 = {};
    v4.sin_family = AF_INET;
    v4.sin_port = htons(port);
    v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr_in6 v6 = {};
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(port);
    v6.sin6_addr = in6addr_loopback;
    const bool ipv6 = family == AF_INET6;
    m_fd = socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_fd < 0 ||
        ::connect(m_fd, ipv6 ? reinterpret_cast<sockaddr*>(&v6) : reinterpret_cast<sockaddr*>(&v4),
                  ipv6 ? sizeof v6 : sizeof v4) != 0) {
        close();
        return false;
    }
    return true;
}

bool HttpClient::connectFrom(const std::string& source, unsigned short port) {
    close();
    sockaddr_in from = {};
    from.sin_family = AF_INET;
    sockaddr_in to = from;
    to.sin_port = htons(port);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    m_fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_fd < 0 || inet_pton(AF_INET, source.c_str(), &from.sin_addr) != 1 ||
        bind(m_fd, reinterpret_cast<sockaddr*>(&from), sizeof from) != 0 ||
        ::connect(m_fd, reinterpret_cast<sockaddr*>(&to), sizeof to) != 0) {
        close();
        return false;
    }
    return true;
}

bool HttpClient::send(const std::string& bytes) {
    size_t sent = 0;
    while (m_fd >= 0 && sent < bytes.size()) {
        ssize_t n = ::send(m_fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (n <= 0) {
            return false;
        }
        sent += static_cast<size_t>(n);
    }
    return m_fd >= 0;
}

bool HttpClient::_receive(std::chrono::steady_clock::time_point deadline) {
    auto left = std::chrono::duration_cast<Timeout>(deadline - std::chrono::steady_clock::now());
    pollfd p = {m_fd, POLLIN, 0};
    if (m_fd < 0 || left.count() <= 0 || poll(&p, 1, static_cast<int>(left.count())) <= 0) {
        return false;
    }
    char chunk[8192];
    ssize_t n = recv(m_fd, chunk, sizeof chunk, 0);
    if (n <= 0) {
        return false;
    }
    m_pending.append(chunk, static_cast<size_t>(n));
    return true;
}

std::optional<HttpResponse> HttpClient::read(Timeout timeout) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    size_t headEnd;
    while ((headEnd = m_pending.find("\r\n\r\n")) == std::string::npos) {
        if (!_receive(deadline)) {
            return std::nullopt;
        }
    }
    HttpResponse response;
    std::string head = m_pending.substr(0, headEnd);
    size_t lineEnd = head.find("\r\n");
    size_t space = head.find(' ');
    response.status = std::atoi(head.c_str() + (space == std::string::npos ? 0 : space + 1));
    while (lineEnd != std::string::npos) {
        size_t start = lineEnd + 2;
        lineEnd = head.find("\r\n", start);
        std::string line = head.substr(start, lineEnd - start);
        size_t colon = line.find(':');
        if (colon == std::string::npos) {
            continue;
        }
        std::string name = line.substr(0, colon);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return std::tolower(c); });
        size_t value = line.find_first_not_of(' ', colon + 1);
        response.headers[name] = value == std::string::npos ? "" : line.substr(value);
    }
    size_t length = std::strtoul(response.header("content-length").c_str(), nullptr, 10);
    while (m_pending.size() < headEnd + 4 + length) {
        if (!_receive(deadline)) {
            return std::nullopt;
        }
    }
    response.body = m_pending.substr(headEnd + 4, length);
    m_pending.erase(0, headEnd + 4 + length);
    return response;
}

std::optional<std::string> HttpClient::readUntil(const std::string& text, Timeout timeout) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    size_t found;
    while ((found = m_pending.find(text)) == std::string::npos) {
        if (!_receive(deadline)) {
            return std::nullopt;
        }
    }
    std::string bytes = m_pending.substr(0, found + text.size());
    m_pending.erase(0, found + text.size());
    return bytes;
}

bool HttpClient::waitClosed(Timeout timeout) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        auto left =
            std::chrono::duration_cast<Timeout>(deadline - std::chrono::steady_clock::now());
        pollfd p = {m_fd, POLLIN, 0};
        if (m_fd < 0 || left.count() <= 0 || poll(&p, 1, static_cast<int>(left.count())) <= 0) {
            return false;
        }
        char chunk[4096];
        if (recv(m_fd, chunk, sizeof chunk, 0) <= 0) {
            return true;
        }
    }
}

void HttpClient::close() {
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    m_pending.clear();
}

HttpResponse exchange(unsigned short port, const std::string& request,
                      HttpClient::Timeout timeout) {
    HttpClient client;
    if (!client.connect(port) || !client.send(request)) {
        return HttpResponse();
    }
    return client.read(timeout).value_or(HttpResponse());
}

int holdLoopbackPort(unsigned short& port, bool listening) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        (listening && listen(fd, 1) != 0) ||
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        if (fd >= 0) {
            ::close(fd);
        }
        return -1;
    }
    port = ntohs(address.sin_port);
    return fd;
}

bool loopbackMulticastWorks() {
    int receiver = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    int sender = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    socklen_t length = sizeof address;
    ip_mreqn group = {};
    inet_pton(AF_INET, "239.255.255.250", &group.imr_multiaddr);
    group.imr_address.s_addr = htonl(INADDR_LOOPBACK);
    in_addr loopback = group.imr_address;
    bool ok = bind(receiver, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
              getsockname(receiver, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
              setsockopt(receiver, IPPROTO_IP, IP_ADD_MEMBERSHIP, &group, sizeof group) == 0 &&
              setsockopt(sender, IPPROTO_IP, IP_MULTICAST_IF, &loopback, sizeof loopback) == 0;
    address.sin_addr = group.imr_multiaddr;
    pollfd p = {receiver, POLLIN, 0};
    ok = ok && sendto(sender, "x", 1, 0, reinterpret_cast<sockaddr*>(&address), length) == 1 &&
         poll(&p, 1, 1000) == 1;
    close(receiver);
    close(sender);
    return ok;
}

}  // namespace testsupport
