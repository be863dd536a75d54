// A UPnP error result: code, description and details.
#include "UpnpError.h"

namespace ip_control {

void UpnpError::addDetails(const std::string& details) {
    if (!m_details.empty())
        m_details += "\n";
    m_details += details;
}

}  // namespace ip_control
