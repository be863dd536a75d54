// Reading the SOAP response, SOAP fault, property-set and action-request bodies as name/value
// lists.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

struct _xmlDoc;

namespace ucf {

using NamedTexts = std::vector<std::pair<std::string, std::string>>;

struct DocFree {
    void operator()(_xmlDoc* doc) const;
};
using Doc = std::unique_ptr<_xmlDoc, DocFree>;

// Every document of this layer is read without network access and without DTD processing: a
// document type declaration makes it unreadable (no entity is ever expanded, so a small body
// cannot grow into gigabytes), and libxml2's messages about it are not printed.

// The child elements of the first element of a body fragment: "<u:XResponse><A>1</A></u:XResponse>"
// gives {A, 1}. False when the text is not XML. Thread-safe.
bool parseResponseArguments(const std::string& body, NamedTexts& out);
// The errorCode and errorDescription of a fault fragment; false when there is no numeric code.
bool parseFault(const std::string& body, int& code, std::string& description);
// The properties of a GENA property set, in order.
bool parsePropertySet(const std::string& body, NamedTexts& out);
// The in-arguments of a SOAP action request envelope (the children of the Body's first element).
bool parseActionRequest(const char* data, size_t length, NamedTexts& out);
// Whether a request body carries a document type declaration (such bodies are refused).
bool hasDocumentType(const char* data, size_t length);
// A document file of at most 1 MiB read with the libxml2 options given (DTD options are
// dropped); null when it cannot be read, is not XML or has a document type declaration.
Doc readDocumentFile(const std::string& path, int options);
// The action names of a service description file, in order; false when it is not one.
bool readActionNames(const std::string& path, std::vector<std::string>& names);

}  // namespace ucf
