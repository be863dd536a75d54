// One incoming SOAP action.
#include "UpnpAction.h"

namespace ip_control {

std::string UpnpAction::getDebugCpInfo() const {
    return getCpIp() + " mac:" + getCpMac() + " name:" + getCpDeviceName();
}

}  // namespace ip_control
