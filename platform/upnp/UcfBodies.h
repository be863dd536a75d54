// Reading the SOAP response, SOAP fault, property-set and action-request bodies as name/value
// lists.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace ucf {

using NamedTexts = std::vector<std::pair<std::string, std::string>>;

// The child elements of the first element of a body fragment: "<u:XResponse><A>1</A></u:XResponse>"
// gives {A, 1}. False when the text is not XML. Thread-safe.
bool parseResponseArguments(const std::string& body, NamedTexts& out);
// The errorCode and errorDescription of a fault fragment; false when there is no numeric code.
bool parseFault(const std::string& body, int& code, std::string& description);
// The properties of a GENA property set, in order.
bool parsePropertySet(const std::string& body, NamedTexts& out);
// The in-arguments of a SOAP action request envelope (the children of the Body's first element).
bool parseActionRequest(const char* data, size_t length, NamedTexts& out);

}  // namespace ucf
