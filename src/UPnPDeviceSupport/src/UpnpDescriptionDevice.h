// A device description document ("root"): device elements and the service list.
#pragma once

#include <string>
#include <vector>

#include "UpnpDescriptionFile.h"

namespace ip_control {

// Editor of one device description. One thread at a time.
class UpnpDescriptionDevice : public UpnpDescriptionFile {
public:
    // One entry of the service list; a missing child reads as "".
    struct ServiceInfo {
        std::string serviceType;
        std::string serviceId;
        std::string controlURL;
        std::string eventSubURL;
        std::string SCPDURL;
        void clear();
    };

    bool parseDescriptionFile(const std::string& path);
    bool getDeviceElement(const std::string& name, std::string& value) const;
    bool setDeviceElement(const std::string& name, const std::string& value);
    bool addService(const std::string& xml);
    bool getServices(std::vector<ServiceInfo>& services) const;
    // The first entry whose serviceType equals serviceType exactly.
    bool getService(const std::string& serviceType, ServiceInfo& info) const;
    void clear() override;

private:
    _xmlNode* m_device = nullptr;
    _xmlNode* m_serviceList = nullptr;
};

}  // namespace ip_control
