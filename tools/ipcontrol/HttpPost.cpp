// Blocking HTTP/1.1 POST over a non-blocking socket with poll() deadlines.
#include "HttpPost.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "TcpConnect.h"

namespace {

using Clock = std::chrono::steady_clock;

// Milliseconds left until the deadline, never negative.
int millisecondsUntil(Clock::time_point deadline) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::max<long long>(0, left.count()));
}

// Waits for events on fd until the deadline; false on timeout or error.
bool waitFor(int fd, short events, Clock::time_point deadline) {
    pollfd p = {fd, events, 0};
    int ready;
    do {
        ready = poll(&p, 1, millisecondsUntil(deadline));
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// The value of a header in the head (status line and headers without the blank line), or
// nothing when absent.
bool findHeader(const std::string& head, const std::string& name, std::string& value) {
    const std::string lowered = lowerCase(head);
    size_t at = lowered.find("\r\n" + name + ":");
    if (at == std::string::npos) {
        return false;
    }
    size_t start = head.find_first_not_of(" \t", at + name.size() + 3);
    size_t end = head.find("\r\n", at + 2);
    value = start == std::string::npos ? "" : head.substr(start, end - start);
    return true;
}

std::string hostHeader(const std::string& host, unsigned short port) {
    bool ipv6 = host.find(':') != std::string::npos;
    return (ipv6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

}  // namespace

HttpPost::HttpPost(std::string host, unsigned short port, Milliseconds connectTimeout,
                   Milliseconds readTimeout)
    : m_host(std::move(host)),
      m_port(port),
      m_connectTimeout(connectTimeout),
      m_readTimeout(readTimeout) {}

HttpReply HttpPost::send(const std::string& body) const {
    HttpReply reply;
    int fd = connectWithin(m_host, m_port, m_connectTimeout, reply.reason);
    if (fd < 0) {
        reply.transport = HttpReply::Transport::Unreachable;
        return reply;
    }
    const std::string request =
        "POST / HTTP/1.1\r\nHost: " + hostHeader(m_host, m_port) +
        "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
        "\r\nConnection: close\r\n\r\n" + body;
    if (_writeAll(fd, request, Clock::now() + m_readTimeout)) {
        reply = _readReply(fd);
    } else {
        reply.transport = HttpReply::Transport::Broken;
        reply.reason = std::string("sending failed: ") + strerror(errno);
    }
    close(fd);
    return reply;
}

bool HttpPost::_writeAll(int fd, const std::string& bytes, Clock::time_point deadline) const {
    size_t sent = 0;
    while (sent < bytes.size()) {
        ssize_t n = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (n > 0) {
            sent += static_cast<size_t>(n);
        } else if (n < 0 && errno == EAGAIN) {
            if (!waitFor(fd, POLLOUT, deadline)) {
                errno = ETIMEDOUT;
                return false;
            }
        } else if (n < 0 && errno != EINTR) {
            return false;
        }
    }
    return true;
}

HttpReply HttpPost::_readReply(int fd) const {
    HttpReply reply;
    const auto deadline = Clock::now() + m_readTimeout;
    std::string received;
    size_t headEnd = std::string::npos;
    bool lengthKnown = false;
    size_t length = 0;
    for (;;) {
        if (headEnd == std::string::npos &&
            (headEnd = received.find("\r\n\r\n")) != std::string::npos) {
            std::string head = received.substr(0, headEnd);
            if (head.rfind("HTTP/1.", 0) != 0 || head.size() < 12) {
                reply.reason = "the answer is not HTTP";
                return reply;
            }
            reply.status = std::atoi(head.c_str() + 9);
            std::string value;
            lengthKnown = findHeader(head, "content-length", value);
            length = std::strtoul(value.c_str(), nullptr, 10);
        }
        if (lengthKnown && received.size() >= headEnd + 4 + length) {
            reply.transport = HttpReply::Transport::Answered;
            reply.body = received.substr(headEnd + 4, length);
            return reply;
        }
        if (!waitFor(fd, POLLIN, deadline)) {
            reply.transport = HttpReply::Transport::NoAnswer;
            reply.reason =
                "no answer within " + std::to_string(m_readTimeout.count() / 1000) + " s";
            return reply;
        }
        char chunk[8192];
        ssize_t n = recv(fd, chunk, sizeof chunk, 0);
        if (n > 0) {
            received.append(chunk, static_cast<size_t>(n));
        } else if (n == 0 && headEnd != std::string::npos && !lengthKnown) {
            // Connection: close without Content-Length: the body runs to the end.
            reply.transport = HttpReply::Transport::Answered;
            reply.body = received.substr(headEnd + 4);
            return reply;
        } else if (n == 0 || (errno != EINTR && errno != EAGAIN)) {
            reply.reason = n == 0 ? "the connection closed before the answer was complete"
                                  : std::string(strerror(errno));
            return reply;
        }
    }
}
