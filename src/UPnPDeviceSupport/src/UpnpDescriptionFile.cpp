// An XML description document on disk: load, read and change elements, write back safely.
#include "UpnpDescriptionFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <libxml/parser.h>
#include <libxml/tree.h>

#include "Log.h"
#include "UpnpTypes.h"

namespace ip_control {

namespace {

// Blank text nodes are dropped so that stored files come out evenly indented. libxml2's own
// messages would go to stderr unprefixed; a failure is logged here instead.
constexpr int kParseOptions =
    XML_PARSE_NOBLANKS | XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

const xmlChar* xc(const std::string& s) {
    return reinterpret_cast<const xmlChar*>(s.c_str());
}

std::string contentOf(xmlNode* node) {
    xmlChar* content = xmlNodeGetContent(node);
    std::string text = content != nullptr ? reinterpret_cast<const char*>(content) : "";
    xmlFree(content);
    return text;
}

}  // namespace

xmlDoc* UpnpDescriptionFile::readWithoutDtd(xmlDoc* doc) {
    if (doc != nullptr && (doc->intSubset != nullptr || doc->extSubset != nullptr)) {
        LOGE("a document type declaration is not accepted in a description");
        xmlFreeDoc(doc);
        return nullptr;
    }
    return doc;
}

UpnpDescriptionFile::~UpnpDescriptionFile() {
    UpnpDescriptionFile::clear();
}

void UpnpDescriptionFile::clear() {
    if (m_xmlDoc != nullptr) {
        xmlFreeDoc(m_xmlDoc);
        m_xmlDoc = nullptr;
    }
    m_updated = false;
}

bool UpnpDescriptionFile::parseFile(const std::string& path, const std::string& rootName) {
    clear();
    m_path = path;
    size_t slash = path.rfind('/');
    m_folder = slash == std::string::npos ? std::string() : path.substr(0, slash);

    xmlDoc* doc = readWithoutDtd(xmlReadFile(path.c_str(), nullptr, kParseOptions));
    if (doc == nullptr) {
        LOGE("xmlParseFile(\"%s\") failed", path.c_str());
        return false;
    }
    xmlNode* root = xmlDocGetRootElement(doc);
    if (root == nullptr) {
        LOGE("root element == NULL, wrong structure of file: %s", path.c_str());
        xmlFreeDoc(doc);
        return false;
    }
    if (rootName != reinterpret_cast<const char*>(root->name)) {
        LOGE("wrong root element name [%s] expected [%s]",
             reinterpret_cast<const char*>(root->name), rootName.c_str());
        xmlFreeDoc(doc);
        return false;
    }
    m_xmlDoc = doc;
    return true;
}

bool UpnpDescriptionFile::store(const std::string& path) {
    if (m_xmlDoc == nullptr) {
        LOGE("Wrong state m_xmlDoc==NULL");
        return false;
    }
    const std::string target = path.empty() ? m_path : path;
    const std::string tmp = target + ".tmp";
    int written = xmlSaveFormatFile(tmp.c_str(), m_xmlDoc, 1);
    if (written < 0) {
        LOGE("File writing failed:%s", tmp.c_str());
        return false;
    }
    LOGI("Bytes written:%d", written);
    if (rename(tmp.c_str(), target.c_str()) != 0) {
        LOGE("rename(%s, %s) failed : %s", tmp.c_str(), target.c_str(), strerror(errno));
        return false;
    }
    LOGI("updated file:%s", target.c_str());
    return true;
}

void UpnpDescriptionFile::splitElementName(const std::string& name, std::string& prefix,
                                           std::string& local) {
    size_t colon = name.find(':');
    if (colon == std::string::npos) {
        prefix.clear();
        local = name;
    } else {
        prefix = name.substr(0, colon);
        local = name.substr(colon + 1);
    }
}

xmlNode* UpnpDescriptionFile::rootElement() const {
    return m_xmlDoc != nullptr ? xmlDocGetRootElement(m_xmlDoc) : nullptr;
}

xmlNode* UpnpDescriptionFile::findChild(xmlNode* parent, const std::string& localName) {
    if (parent == nullptr)
        return nullptr;
    for (xmlNode* child = parent->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE &&
            localName == reinterpret_cast<const char*>(child->name)) {
            return child;
        }
    }
    return nullptr;
}

bool UpnpDescriptionFile::getElement(xmlNode* parent, const std::string& name,
                                     std::string& value) const {
    std::string prefix, local;
    splitElementName(name, prefix, local);
    xmlNode* node = findChild(parent, local);
    if (node == nullptr)
        return false;
    value = contentOf(node);
    return true;
}

bool UpnpDescriptionFile::setElement(xmlNode* parent, const std::string& name,
                                     const std::string& value) {
    if (parent == nullptr) {
        LOGE("no parent element for %s", name.c_str());
        return false;
    }
    std::string prefix, local;
    splitElementName(name, prefix, local);
    xmlNode* node = findChild(parent, local);
    // The library escapes markup characters when writing, but would write the characters XML
    // cannot hold as they are.
    const std::string text = xmlCarriableText(value);
    if (node != nullptr) {
        if (contentOf(node) == text)
            return true;
        xmlNodeSetContent(node, nullptr);
        xmlNodeAddContent(node, xc(text));
        m_updated = true;
        return true;
    }
    xmlNs* ns = xmlSearchNs(m_xmlDoc, parent, prefix.empty() ? nullptr : xc(prefix));
    if (xmlNewTextChild(parent, ns, xc(local), xc(text)) == nullptr) {
        LOGE("cannot add element %s", name.c_str());
        return false;
    }
    m_updated = true;
    return true;
}

bool UpnpDescriptionFile::addFromXmlString(xmlNode* parent, const std::string& elementName,
                                           const std::string& xml) {
    if (parent == nullptr || m_xmlDoc == nullptr) {
        LOGE("no parent element for %s", elementName.c_str());
        return false;
    }
    xmlDoc* fragment = readWithoutDtd(
        xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr, kParseOptions));
    if (fragment == nullptr) {
        LOGE("cannot parse %s fragment", elementName.c_str());
        return false;
    }
    bool ok = false;
    xmlNode* root = xmlDocGetRootElement(fragment);
    if (root == nullptr || elementName != reinterpret_cast<const char*>(root->name)) {
        LOGE("fragment root is not %s", elementName.c_str());
    } else {
        xmlNode* copy = xmlDocCopyNode(root, m_xmlDoc, 1);
        if (copy != nullptr && xmlAddChild(parent, copy) != nullptr) {
            m_updated = true;
            ok = true;
        } else if (copy != nullptr) {
            xmlUnlinkNode(copy);
            xmlFreeNode(copy);
        }
    }
    xmlFreeDoc(fragment);
    return ok;
}

}  // namespace ip_control
