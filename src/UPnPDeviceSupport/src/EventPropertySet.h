// A GENA property set: the body of an event NOTIFY.
#pragma once

#include <string>

namespace ip_control {

// Accumulates property elements. One thread at a time.
class EventPropertySet {
public:
    // Nothing for an empty name; an empty value gives "<name/>". The value is XML-escaped.
    void addProperty(const std::string& name, const std::string& value);
    const std::string& getProperties() const { return m_properties; }
    std::string getSoapEventMessage() const;

private:
    std::string m_properties;
};

}  // namespace ip_control
