// A GENA property set: the body of an event NOTIFY.
#include "EventPropertySet.h"

#include "UpnpTypes.h"

namespace ip_control {

void EventPropertySet::addProperty(const std::string& name, const std::string& value) {
    if (name.empty())
        return;
    m_properties += "<e:property>";
    if (value.empty())
        m_properties += "<" + name + "/>";
    else
        m_properties += "<" + name + ">" + escapeXml(value) + "</" + name + ">";
    m_properties += "</e:property>\r\n";
}

std::string EventPropertySet::getSoapEventMessage() const {
    return "<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">" + m_properties +
           "</e:propertyset>\r\n";
}

}  // namespace ip_control
