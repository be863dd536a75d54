// A device description document ("root"): device elements and the service list.
#include "UpnpDescriptionDevice.h"

#include <libxml/tree.h>

namespace ip_control {

void UpnpDescriptionDevice::ServiceInfo::clear() {
    serviceType.clear();
    serviceId.clear();
    controlURL.clear();
    eventSubURL.clear();
    SCPDURL.clear();
}

bool UpnpDescriptionDevice::parseDescriptionFile(const std::string& path) {
    clear();
    if (!parseFile(path, "root"))
        return false;
    m_device = findChild(rootElement(), "device");
    m_serviceList = findChild(m_device, "serviceList");
    return true;
}

bool UpnpDescriptionDevice::getDeviceElement(const std::string& name, std::string& value) const {
    return getElement(m_device, name, value);
}

bool UpnpDescriptionDevice::setDeviceElement(const std::string& name, const std::string& value) {
    return setElement(m_device, name, value);
}

bool UpnpDescriptionDevice::addService(const std::string& xml) {
    return addFromXmlString(m_serviceList, "service", xml);
}

bool UpnpDescriptionDevice::getServices(std::vector<ServiceInfo>& services) const {
    services.clear();
    if (m_serviceList == nullptr)
        return false;
    for (xmlNode* node = m_serviceList->children; node != nullptr; node = node->next) {
        if (node->type != XML_ELEMENT_NODE || !xmlStrEqual(node->name, BAD_CAST "service")) {
            continue;
        }
        ServiceInfo info;
        getElement(node, "serviceType", info.serviceType);
        getElement(node, "serviceId", info.serviceId);
        getElement(node, "controlURL", info.controlURL);
        getElement(node, "eventSubURL", info.eventSubURL);
        getElement(node, "SCPDURL", info.SCPDURL);
        services.push_back(info);
    }
    return true;
}

bool UpnpDescriptionDevice::getService(const std::string& serviceType, ServiceInfo& info) const {
    std::vector<ServiceInfo> services;
    getServices(services);
    for (const ServiceInfo& entry : services) {
        if (entry.serviceType == serviceType) {
            info = entry;
            return true;
        }
    }
    return false;
}

void UpnpDescriptionDevice::clear() {
    m_device = nullptr;
    m_serviceList = nullptr;
    UpnpDescriptionFile::clear();
}

}  // namespace ip_control
