// The SOAP bodies of an action answer: the response and the UPnP fault.
#pragma once

#include <string>

#include "ActionArguments.h"
#include "UpnpError.h"

namespace ip_control {

// Both are thread-safe: no state.
void GenerateSOAPResponseBody(const std::string& action, const std::string& serviceType,
                              const ActionOutArguments& out, std::string& body);
// The fault text is cut at 511 characters.
void GenerateSOAPErrorBody(const UpnpError& error, std::string& body);

}  // namespace ip_control
