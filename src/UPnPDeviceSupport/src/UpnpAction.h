// One incoming SOAP action: its name, service type, arguments and the control point's facts.
#pragma once

#include <string>

#include "ActionArguments.h"
#include "UpnpTypes.h"

namespace ip_control {

// Built per request on the library's callback thread and used there only.
class UpnpAction {
public:
    static constexpr const char* kCpIpAddress = "cpIpAddress";
    static constexpr const char* kCpMacAddress = "cpMacAddress";
    static constexpr const char* kCpDeviceName = "cpDeviceName";
    static constexpr const char* kCpUserAgent = "cpUserAgent";
    static constexpr const char* kCpUniqId = "cpUniqId";
    static constexpr const char* kDeviceTypeNameBased = "deviceTypeNameBased";
    static constexpr const char* kDeviceTypeGlintBased = "deviceTypeGlintBased";

    UpnpAction(const std::string& name, const std::string& serviceType)
        : m_name(name), m_serviceType(serviceType) {}

    const std::string& getName() const { return m_name; }
    const std::string& getServiceType() const { return m_serviceType; }
    ActionInArguments& inArguments() { return m_in; }
    ActionOutArguments& outArguments() { return m_out; }
    const ActionOutArguments& outArguments() const { return m_out; }
    NamedValues& cpInfo() { return m_cpInfo; }
    const NamedValues& cpInfo() const { return m_cpInfo; }

    std::string getCpIp() const { return m_cpInfo.get(kCpIpAddress); }
    std::string getCpMac() const { return m_cpInfo.get(kCpMacAddress); }
    std::string getCpDeviceName() const { return m_cpInfo.get(kCpDeviceName); }
    // "<ip> mac:<mac> name:<name>", for logs.
    std::string getDebugCpInfo() const;

private:
    std::string m_name;
    std::string m_serviceType;
    ActionInArguments m_in;
    ActionOutArguments m_out;
    NamedValues m_cpInfo;
};

}  // namespace ip_control
