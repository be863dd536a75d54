// The SOAP bodies of an action answer: the response and the UPnP fault.
#include "SoapBody.h"

#include <cstdio>

#include "UpnpTypes.h"

namespace ip_control {

void GenerateSOAPResponseBody(const std::string& action, const std::string& serviceType,
                              const ActionOutArguments& out, std::string& body) {
    std::string arguments;
    for (const ActionArguments::Argument& item : out.items())
        arguments += "<" + item.first + ">" + escapeXml(item.second) + "</" + item.first + ">\r\n";
    body = "<u:" + action + "Response xmlns:u=\"" + serviceType + "\">" + arguments +
           "</u:" + action + "Response>";
}

void GenerateSOAPErrorBody(const UpnpError& error, std::string& body) {
    char buffer[512];
    snprintf(buffer, sizeof(buffer),
             "<s:Fault><faultcode>s:Client</faultcode><faultstring>UPnPError</faultstring>"
             "<detail><UPnPError xmlns=\"urn:schemas-upnp-org:control-1-0\">"
             "<errorCode>%d</errorCode><errorDescription>%s</errorDescription></UPnPError>"
             "</detail></s:Fault>",
             error.getCode(), error.getDescription().c_str());
    body = buffer;
}

}  // namespace ip_control
