// Test support: the other side of a UPnP device on the loopback interface, a member of the SSDP
// group and an event callback server. Test thread only.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "support/HttpClient.h"

namespace testsupport {

// Reads the SSDP multicast traffic on lo (port 1900, shared with whoever else listens).
class SsdpListener {
public:
    using Headers = std::map<std::string, std::string>;  // names in lower case

    SsdpListener();
    bool ok() const { return m_ok; }

    // Reads NOTIFYs with this NTS ("ssdp:alive", "ssdp:byebye") for the device until one has
    // come for each NT in wanted, or the wait is over; the headers of the last one by NT.
    std::map<std::string, Headers> collect(
        const std::string& nts, const std::string& uuid, const std::set<std::string>& wanted,
        std::chrono::milliseconds wait = std::chrono::seconds(10));

private:
    HttpClient m_socket;  // reads one datagram as one head
    bool m_ok = false;
};

// A listening port on 127.0.0.1 for event callbacks; each request is answered with 200.
class CallbackListener {
public:
    CallbackListener();
    ~CallbackListener();
    std::string url() const { return "http://127.0.0.1:" + std::to_string(m_port) + "/cb"; }
    // The next request's headers and body, or nothing when none came in time.
    std::optional<HttpResponse> receive(int timeoutMs = 5000);

private:
    unsigned short m_port = 0;  // set by m_fd's initialiser
    int m_fd;
};

}  // namespace testsupport
