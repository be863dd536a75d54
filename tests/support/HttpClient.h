// Test support: a raw-socket HTTP/1.1 client, one connection, bounded waits.
#pragma once

#include <sys/socket.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>

namespace testsupport {

struct HttpResponse {
    int status = 0;
    std::map<std::string, std::string> headers;  // names in lower case
    std::string body;

    std::string header(const std::string& name) const {
        auto it = headers.find(name);
        return it == headers.end() ? std::string() : it->second;
    }
};

// One client connection to the loopback address of a family. Test thread only.
class HttpClient {
public:
    using Timeout = std::chrono::milliseconds;
    static constexpr Timeout kWait{5000};

    HttpClient() = default;
    ~HttpClient();
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;

    // Connects to 127.0.0.1 (AF_INET) or ::1 (AF_INET6).
    bool connect(unsigned short port, int family = AF_INET);
    // Connects to 127.0.0.1 from another loopback address, "127.0.1.7" say, as another host
    // would.
    bool connectFrom(const std::string& source, unsigned short port);
    // Takes over a connected socket, one accepted from a listener say, to read a request from
    // it (read() then gives status 0) and send the answer.
    void adopt(int fd) {
        close();
        m_fd = fd;
    }
    bool isOpen() const { return m_fd >= 0; }
    bool send(const std::string& bytes);
    // extraHeaders: complete lines, each ending in "\r\n".
    bool post(const std::string& body, const std::string& extraHeaders = "") {
        return send("POST /ipcontrol HTTP/1.1\r\nHost: tv\r\n" + extraHeaders +
                    "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    }
    // The next complete response (Content-Length framing), or nothing on close or timeout.
    std::optional<HttpResponse> read(Timeout timeout = kWait);
    // The raw bytes up to and including the next occurrence of text, for a streamed body that
    // follows a response head read with read(); nothing on close or timeout.
    std::optional<std::string> readUntil(const std::string& text, Timeout timeout = kWait);
    // True when the server closes the connection within the timeout.
    bool waitClosed(Timeout timeout = kWait);
    void close();

private:
    // Appends what arrives within the deadline; false on close, error or timeout.
    bool _receive(std::chrono::steady_clock::time_point deadline);

    int m_fd = -1;
    std::string m_pending;
};

// One request on a fresh connection to 127.0.0.1; status 0 when no answer came.
HttpResponse exchange(unsigned short port, const std::string& request,
                      HttpClient::Timeout timeout = HttpClient::kWait);

// A socket on 127.0.0.1 at a port the kernel chose, listening when asked: while the caller holds
// it, nothing else can take the port. -1 on failure; the caller closes it.
int holdLoopbackPort(unsigned short& port, bool listening);

// Whether a datagram sent to the SSDP group on lo comes back to a member there; without that
// no discovery can work on this machine.
bool loopbackMulticastWorks();

}  // namespace testsupport
