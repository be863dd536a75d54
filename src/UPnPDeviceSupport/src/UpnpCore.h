// Brings the platform UPnP library's core up and down.
#pragma once

namespace ip_control {

// Base of the device. Set-up/tear-down thread only (the caller serialises start and stop).
class UpnpCore {
public:
    virtual ~UpnpCore() = default;

    // Each step in order; the first failure is logged and returned, nothing is undone.
    bool init();
    // Runs every step even after a failure; false when any failed.
    bool finit();
};

}  // namespace ip_control
