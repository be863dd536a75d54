// An SSDP search for one device type on the local network: which devices answer, and where
// their descriptions are.
#pragma once

#include <chrono>
#include <string>
#include <vector>

// Runs its own GLib main context on the calling thread for the length of the search, so it
// needs no main loop of the caller. One search per instance.
class SsdpSearch {
public:
    struct Device {
        std::string udn;       // "uuid:..."
        std::string location;  // the description's URL
    };

    SsdpSearch(std::string target, std::string interface, std::chrono::milliseconds timeout);

    // Searches on interface, or on every IPv4 interface that is up (loopback included) when
    // it is "", and listens until the timeout. False with a one-line error when no interface
    // could be searched.
    bool run(std::string& error);
    // Each device once, in the order they first answered.
    const std::vector<Device>& devices() const { return m_devices; }

private:
    void _found(const std::string& usn, const std::string& location);

    std::string m_target;
    std::string m_interface;
    std::chrono::milliseconds m_timeout;
    std::vector<Device> m_devices;
};
