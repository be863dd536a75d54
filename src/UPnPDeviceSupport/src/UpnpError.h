// A UPnP error result: code, description and details, with the standard codes as factories.
#pragma once

#include <string>

namespace ip_control {

// Value type. Thread-safe: no shared state.
class UpnpError {
public:
    UpnpError() : m_code(-1), m_description("-1 Unknown") {}
    explicit UpnpError(int code) : m_code(code), m_description("No description") {}
    UpnpError(int code, const std::string& description)
        : m_code(code), m_description(description) {}

    static UpnpError SUCCESS() { return UpnpError(0, ""); }
    static UpnpError UNKNOWN() { return UpnpError(); }
    static UpnpError E401_INVALID_ACTION() { return UpnpError(401, "Invalid Action"); }
    static UpnpError E402_INVALID_ARGS() { return UpnpError(402, "Invalid Args"); }
    static UpnpError E404_INVALID_VAR() { return UpnpError(404, "Invalid Var"); }
    static UpnpError E501_ACTION_FAILED() { return UpnpError(501, "Action Failed"); }

    int getCode() const { return m_code; }
    const std::string& getDescription() const { return m_description; }
    const std::string& getDetails() const { return m_details; }
    void setDetails(const std::string& details) { m_details = details; }
    // Appends, with "\n" between the old and the new text when there were details already.
    void addDetails(const std::string& details);

private:
    int m_code;
    std::string m_description;
    std::string m_details;
};

}  // namespace ip_control
