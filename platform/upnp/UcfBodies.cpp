// Reading the SOAP and GENA bodies that the UPnP framework builds, with libxml2.
#include "UcfBodies.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace ucf {
namespace {

struct DocFree {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
using Doc = std::unique_ptr<xmlDoc, DocFree>;

// Fragments may use prefixes they do not declare ("s:Fault"); the wrapper declares them.
Doc parseFragment(const std::string& body) {
    const std::string wrapped =
        "<w xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\" "
        "xmlns:u=\"urn:u\" xmlns:e=\"urn:schemas-upnp-org:event-1-0\">" +
        body + "</w>";
    return Doc(xmlReadMemory(wrapped.data(), static_cast<int>(wrapped.size()), nullptr, nullptr,
                             XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
}

xmlNode* firstElement(xmlNode* node) {
    for (; node != nullptr; node = node->next) {
        if (node->type == XML_ELEMENT_NODE) {
            return node;
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
    Doc doc(xmlReadMemory(data, static_cast<int>(length), nullptr, nullptr,
                          XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
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

}  // namespace ucf
