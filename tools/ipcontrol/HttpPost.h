// A small blocking HTTP/1.1 client: one POST per connection, Content-Length framing.
#pragma once

#include <chrono>
#include <string>

// What came back from one POST.
struct HttpReply {
    enum class Transport {
        Answered,     // status and body are set
        Unreachable,  // no connection: unknown host, refused, unreachable or connect timeout
        NoAnswer,     // connected, but no complete response before the read timeout
        Broken,       // the connection closed early or the response is not HTTP
    };
    Transport transport = Transport::Broken;
    int status = 0;
    std::string body;
    std::string reason;  // for the failures: what went wrong, e.g. "Connection refused"
};

// Posts JSON bodies to one host and port. Each send opens and closes its own connection.
// Not thread-safe; blocks the calling thread for at most the connect plus the read timeout.
class HttpPost {
public:
    using Milliseconds = std::chrono::milliseconds;

    HttpPost(std::string host, unsigned short port, Milliseconds connectTimeout,
             Milliseconds readTimeout);

    // Sends body with Content-Type application/json and waits for the whole response.
    HttpReply send(const std::string& body) const;

private:
    bool _writeAll(int fd, const std::string& bytes,
                   std::chrono::steady_clock::time_point deadline) const;
    HttpReply _readReply(int fd) const;

    std::string m_host;
    unsigned short m_port;
    Milliseconds m_connectTimeout;
    Milliseconds m_readTimeout;
};
