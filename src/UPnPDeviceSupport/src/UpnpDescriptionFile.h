// An XML description document on disk: load, read and change elements, write back safely.
#pragma once

#include <string>

struct _xmlDoc;
struct _xmlNode;

namespace ip_control {

// Base of the device and service description editors, over a libxml2 tree.
// One thread at a time: an instance holds a mutable document.
class UpnpDescriptionFile {
public:
    UpnpDescriptionFile() = default;
    virtual ~UpnpDescriptionFile();
    UpnpDescriptionFile(const UpnpDescriptionFile&) = delete;
    UpnpDescriptionFile& operator=(const UpnpDescriptionFile&) = delete;

    // Loads path; its root element must be named rootName. Any failure leaves no document.
    bool parseFile(const std::string& path, const std::string& rootName);
    virtual void clear();
    // Writes to path + ".tmp", then renames it onto path ("" = the path loaded from).
    bool store(const std::string& path = "");
    void setUpdated() { m_updated = true; }
    bool isUpdated() const { return m_updated; }
    bool isLoaded() const { return m_xmlDoc != nullptr; }
    const std::string& getPath() const { return m_path; }
    const std::string& getFolder() const { return m_folder; }

    // Text of the first element child of parent named name's local part.
    bool getElement(_xmlNode* parent, const std::string& name, std::string& value) const;
    // Replaces that child's text, or appends a new child in the prefix's namespace.
    bool setElement(_xmlNode* parent, const std::string& name, const std::string& value);
    // Appends a deep copy of xml's root element, which must be named elementName.
    bool addFromXmlString(_xmlNode* parent, const std::string& elementName, const std::string& xml);
    static void splitElementName(const std::string& name, std::string& prefix, std::string& local);
    // Documents are read without network access or entity substitution; this gives a parsed
    // document back unless it has a document type declaration (then it is freed, logged and
    // null comes back), so no entity of a description is ever expanded later.
    static _xmlDoc* readWithoutDtd(_xmlDoc* doc);

protected:
    _xmlNode* rootElement() const;
    static _xmlNode* findChild(_xmlNode* parent, const std::string& localName);

    _xmlDoc* m_xmlDoc = nullptr;
    std::string m_path;
    std::string m_folder;
    bool m_updated = false;
};

}  // namespace ip_control
