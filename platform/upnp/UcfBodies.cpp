// Reading the SOAP and GENA bodies that the UPnP framework builds, with libxml2.
#include "UcfBodies.h"

#include <glib.h>
#include <libxml/parser.h>

#include <cstdlib>
#include <cstring>

namespace ucf {
namespace {

const gsize kMaxDocumentBytes = 1024 * 1024;  // description documents are a few KiB

// The parser stops at a document type declaration, before its internal subset is read: no
// entity of a document is ever declared, so none can be expanded.
void stopAtDocumentType(void* context, const xmlChar*, const xmlChar*, const xmlChar*) {
    auto* parser = static_cast<xmlParserCtxtPtr>(context);
    *static_cast<bool*>(parser->_private) = true;
    xmlStopParser(parser);
}

// Our own parses stay silent whatever handler the thread has: their callers report failures.
void ignoreXmlMessage(void*, xmlErrorPtr) {}

// Reads a document without network access, without loading or keeping any DTD; a document with
// a declaration gives null and documentType true.
Doc readBounded(const char* data, size_t length, int options, bool& documentType) {
    documentType = false;
    xmlParserCtxtPtr parser = xmlNewParserCtxt();
    if (parser == nullptr || length > static_cast<size_t>(INT32_MAX)) {
        xmlFreeParserCtxt(parser);
        return nullptr;
    }
    parser->_private = &documentType;
    parser->sax->internalSubset = stopAtDocumentType;
    parser->sax->serror = ignoreXmlMessage;
    options &= ~(XML_PARSE_NOENT | XML_PARSE_DTDLOAD | XML_PARSE_DTDATTR | XML_PARSE_DTDVALID |
                 XML_PARSE_XINCLUDE | XML_PARSE_HUGE);
    Doc doc(xmlCtxtReadMemory(parser, data, static_cast<int>(length), nullptr, nullptr,
                              options | XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    xmlFreeParserCtxt(parser);
    if (doc && (doc->intSubset != nullptr || doc->extSubset != nullptr)) {
        documentType = true;
    }
    if (documentType) {
        doc.reset();
    }
    return doc;
}

Doc readBounded(const char* data, size_t length) {
    bool documentType = false;
    return readBounded(data, length, 0, documentType);
}

// Fragments may use prefixes they do not declare ("s:Fault"); the wrapper declares them.
Doc parseFragment(const std::string& body) {
    const std::string wrapped =
        "<w xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\" "
        "xmlns:u=\"urn:u\" xmlns:e=\"urn:schemas-upnp-org:event-1-0\">" +
        body + "</w>";
    return readBounded(wrapped.data(), wrapped.size());
}

xmlNode* firstElement(xmlNode* node) {
    for (; node != nullptr; node = node->next) {
        if (node->type == XML_ELEMENT_NODE) {
            return node;
        }
    }
    return nullptr;
}

xmlNode* childNamed(xmlNode* parent, const char* name) {
    for (xmlNode* child = firstElement(parent->children); child != nullptr;
         child = firstElement(child->next)) {
        if (std::strcmp(reinterpret_cast<const char*>(child->name), name) == 0) {
            return child;
        }
    }
    return nullptr;
}

std::string textOf(xmlNode* node) {
    xmlChar* text = xmlNodeGetContent(node);
    std::string value = text != nullptr ? reinterpret_cast<const char*>(text) : "";
    xmlFree(text);
    return value;
}

void childTexts(xmlNode* parent, NamedTexts& out) {
    for (xmlNode* child = firstElement(parent->children); child != nullptr;
         child = firstElement(child->next)) {
        out.emplace_back(reinterpret_cast<const char*>(child->name), textOf(child));
    }
}

xmlNode* findByName(xmlNode* node, const char* name) {
    for (; node != nullptr; node = node->next) {
        if (node->type == XML_ELEMENT_NODE &&
            std::strcmp(reinterpret_cast<const char*>(node->name), name) == 0) {
            return node;
        }
        if (xmlNode* found = findByName(node->children, name)) {
            return found;
        }
    }
    return nullptr;
}

}  // namespace

void DocFree::operator()(xmlDoc* doc) const {
    xmlFreeDoc(doc);
}

bool parseResponseArguments(const std::string& body, NamedTexts& out) {
    Doc doc = parseFragment(body);
    if (!doc) {
        return false;
    }
    xmlNode* response = firstElement(xmlDocGetRootElement(doc.get())->children);
    if (response != nullptr) {
        childTexts(response, out);
    }
    return true;
}

bool parseFault(const std::string& body, int& code, std::string& description) {
    Doc doc = parseFragment(body);
    if (!doc) {
        return false;
    }
    xmlNode* root = xmlDocGetRootElement(doc.get());
    xmlNode* codeNode = findByName(root, "errorCode");
    if (codeNode == nullptr) {
        return false;
    }
    const std::string codeText = textOf(codeNode);
    char* end = nullptr;
    const long value = std::strtol(codeText.c_str(), &end, 10);
    if (codeText.empty() || *end != '\0') {
        return false;
    }
    code = static_cast<int>(value);
    xmlNode* descriptionNode = findByName(root, "errorDescription");
    description = descriptionNode != nullptr ? textOf(descriptionNode) : "";
    return true;
}

bool parsePropertySet(const std::string& body, NamedTexts& out) {
    Doc doc = parseFragment(body);
    if (!doc) {
        return false;
    }
    xmlNode* set = firstElement(xmlDocGetRootElement(doc.get())->children);
    if (set == nullptr) {
        return true;
    }
    for (xmlNode* property = firstElement(set->children); property != nullptr;
         property = firstElement(property->next)) {
        childTexts(property, out);
    }
    return true;
}

bool parseActionRequest(const char* data, size_t length, NamedTexts& out) {
    Doc doc = readBounded(data, length);
    if (!doc) {
        return false;
    }
    xmlNode* bodyNode = findByName(xmlDocGetRootElement(doc.get()), "Body");
    xmlNode* action = bodyNode != nullptr ? firstElement(bodyNode->children) : nullptr;
    if (action == nullptr) {
        return false;
    }
    childTexts(action, out);
    return true;
}

bool hasDocumentType(const char* data, size_t length) {
    bool documentType = false;
    // GUPnP reads request bodies in recovery mode; so does this check, so that a declaration
    // libxml2 would reach there is found here too.
    readBounded(data, length, XML_PARSE_RECOVER, documentType);
    return documentType;
}

Doc readDocumentFile(const std::string& path, int options) {
    gchar* text = nullptr;
    gsize length = 0;
    if (!g_file_get_contents(path.c_str(), &text, &length, nullptr) || length > kMaxDocumentBytes) {
        g_free(text);
        return nullptr;
    }
    bool documentType = false;
    Doc doc = readBounded(text, length, options, documentType);
    g_free(text);
    return doc;
}

bool readActionNames(const std::string& path, std::vector<std::string>& names) {
    Doc doc = readDocumentFile(path, XML_PARSE_NOBLANKS);
    xmlNode* root = doc ? xmlDocGetRootElement(doc.get()) : nullptr;
    if (root == nullptr || std::strcmp(reinterpret_cast<const char*>(root->name), "scpd") != 0) {
        return false;
    }
    xmlNode* list = childNamed(root, "actionList");
    for (xmlNode* action = list != nullptr ? firstElement(list->children) : nullptr;
         action != nullptr; action = firstElement(action->next)) {
        if (xmlNode* name = childNamed(action, "name")) {
            names.push_back(textOf(name));
        }
    }
    return true;
}

}  // namespace ucf
