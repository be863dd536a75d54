// The IP-control device's one service: no actions, one evented state variable. Registered and
// unregistered on the thread that sets the device up; actions arrive on the UPnP library's
// callback thread.
#pragma once

#include <mutex>
#include <string>

#include "UpnpService.h"

namespace ip_control {

class IPControlServiceHelper : public UpnpService {
public:
    IPControlServiceHelper();
    ~IPControlServiceHelper() override = default;

    bool registerService(UpnpDevice* device) override;
    bool unregisterService() override;
    // Every action: E401_INVALID_ACTION. The service exists to be discovered.
    UpnpError dispatchAction(UpnpAction& action) override;

    // A GENA body with the single property IPControlState. Not the subscription hook: a new
    // subscriber's first event stays empty.
    void dispatchInitialEvent(std::string& body);  // NOLINT(bugprone-virtual-near-miss)
    bool svSetIPControlState(const std::string& state);
    void begin();
    void end();

private:
    std::mutex m_mutex;  // guards m_state between the library's thread and setters
    std::string m_state = "RUNNING";
};

}  // namespace ip_control
