// The files of the IP-control device's web root: templates, integrity check, repair, icon links.
#include "IPControlDeviceTemplates.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "Log.h"
#include "UpnpDescriptionFile.h"

namespace ip_control {

#define IPC_DOMAIN "orvane-com"
#define IPC_DLNA_NAMESPACE "http://www.orvane.com/dlna"
#define IPC_WEB_ADDRESS "http://www.orvane.com"

const char* const IPCONTROL_UPNP_DOMAIN = IPC_DOMAIN;
const char* const IPCONTROL_DLNA_NAMESPACE = IPC_DLNA_NAMESPACE;
const char* const IPCONTROL_DEVICE_TYPE = "urn:" IPC_DOMAIN ":device:IPControlServer:1";
const char* const IPCONTROL_SERVICE_TYPE = "urn:" IPC_DOMAIN ":service:IPControlService:1";
const char* const IPCONTROL_DEVICE_DESCRIPTION = "DeviceDescription.xml";
const char* const IPCONTROL_SERVICE_DESCRIPTION = "IPControlService_1.xml";

namespace {

#define IPC_ICON(mime, size, name) \
    "      <icon>\n"               \
    "        <mimetype>" mime      \
    "</mimetype>\n"                \
    "        <width>" size         \
    "</width>\n"                   \
    "        <height>" size        \
    "</height>\n"                  \
    "        <depth>24</depth>\n"  \
    "        <url>/" name          \
    "</url>\n"                     \
    "      </icon>\n"

const char DEVICE_TEMPLATE[] =
    "<?xml version=\"1.0\"?>\n"
    "<root xmlns=\"urn:" IPC_DOMAIN ":device-1-0\" xmlns:orv=\"" IPC_DLNA_NAMESPACE "\">\n"
    "  <specVersion>\n"
    "    <major>1</major>\n"
    "    <minor>0</minor>\n"
    "  </specVersion>\n"
    "  <device>\n"
    "    <deviceType>urn:" IPC_DOMAIN ":device:IPControlServer:1</deviceType>\n"
    "    <friendlyName>Orvane TV IP Control Server</friendlyName>\n"
    "    <manufacturer>Orvane Electronics</manufacturer>\n"
    "    <manufacturerURL>" IPC_WEB_ADDRESS "</manufacturerURL>\n"
    "    <modelDescription>Orvane TV IP Control Server</modelDescription>\n"
    "    <modelName>Orvane TV IP Control Server</modelName>\n"
    "    <modelNumber>Castory1.0</modelNumber>\n"
    "    <modelURL>" IPC_WEB_ADDRESS "</modelURL>\n"
    "    <serialNumber>IPControlServer2017</serialNumber>\n"
    "    <UDN></UDN>\n"
    "    <iconList>\n" IPC_ICON("image/jpeg", "48", "icon_SML.jpg")
        IPC_ICON("image/jpeg", "120", "icon_LRG.jpg") IPC_ICON("image/png", "48", "icon_SML.png")
            IPC_ICON("image/png", "120", "icon_LRG.png")
    "    </iconList>\n"
    "    <serviceList>\n"
    "      <service>\n"
    "        <serviceType>urn:" IPC_DOMAIN ":service:IPControlService:1</serviceType>\n"
    "        <serviceId>urn:" IPC_DOMAIN ":serviceId:IPControlService</serviceId>\n"
    "        <controlURL>/upnp/control/IPControlService1</controlURL>\n"
    "        <eventSubURL>/upnp/event/IPControlService1</eventSubURL>\n"
    "        <SCPDURL>/IPControlService_1.xml</SCPDURL>\n"
    "      </service>\n"
    "    </serviceList>\n"
    "  </device>\n"
    "</root>\n";

const char SERVICE_TEMPLATE[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
    "<scpd xmlns=\"urn:" IPC_DOMAIN
    ":service-1-0\">\n"
    "  <specVersion>\n"
    "    <major>1</major>\n"
    "    <minor>0</minor>\n"
    "  </specVersion>\n"
    "</scpd>\n";

const XmlFileInfo XML_FILES[] = {
    {"./DeviceDescription.xml", DEVICE_TEMPLATE, sizeof(DEVICE_TEMPLATE) - 1},
    {"./IPControlService_1.xml", SERVICE_TEMPLATE, sizeof(SERVICE_TEMPLATE) - 1},
    {nullptr, nullptr, 0},
};

const char* const ICONS[] = {"icon_LRG.jpg", "icon_LRG.png", "icon_SML.jpg", "icon_SML.png"};

std::string joinPath(const std::string& folder, const char* fileName) {
    std::string name = fileName;
    if (name.compare(0, 2, "./") == 0)
        name.erase(0, 2);
    return folder + "/" + name;
}

// The device description only has to be a "root" document: its contents change at every start.
bool checkDeviceDescription(const std::string& path) {
    xmlDoc* doc = UpnpDescriptionFile::readWithoutDtd(xmlReadFile(
        path.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    if (doc == nullptr) {
        LOGE("Failed to parse file: %s", path.c_str());
        return false;
    }
    bool ok = false;
    xmlNode* root = xmlDocGetRootElement(doc);
    if (root == nullptr)
        LOGE("Empty document: %s", path.c_str());
    else if (!xmlStrEqual(root->name, BAD_CAST "root"))
        LOGE("Document root node invalid: %s", path.c_str());
    else
        ok = true;
    xmlFreeDoc(doc);
    return ok;
}

bool checkExactFile(const std::string& path, const XmlFileInfo& info) {
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        LOGE("Can't open xml file [%s] for check : %s", path.c_str(), std::strerror(errno));
        return false;
    }
    bool ok = false;
    std::fseek(file, 0, SEEK_END);
    const long size = std::ftell(file);
    std::rewind(file);
    std::vector<char> data(info.size > 0 ? static_cast<size_t>(info.size) : 1);
    if (size != info.size)
        LOGE("xml file [%s] size is wrong: real [%ld] and expected [%d]", path.c_str(), size,
             info.size);
    else if (std::fread(data.data(), 1, static_cast<size_t>(info.size), file) !=
             static_cast<size_t>(info.size))
        LOGE("xml file [%s] data read failed", path.c_str());
    else if (std::memcmp(data.data(), info.contents, static_cast<size_t>(info.size)) != 0)
        LOGE("xml file [%s] binary check failed", path.c_str());
    else
        ok = true;
    std::fclose(file);
    return ok;
}

bool checkFiles(const std::string& webRoot) {
    for (const XmlFileInfo* info = XML_FILES; info->fileName != nullptr; ++info) {
        const std::string path = joinPath(webRoot, info->fileName);
        const bool ok =
            info == XML_FILES ? checkDeviceDescription(path) : checkExactFile(path, *info);
        if (!ok)
            return false;
    }
    return true;
}

bool createPath(const std::string& path) {
    LOGI("[Info] createPath for (%s)", path.c_str());
    for (size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        const std::string part = path.substr(0, end);
        if (!part.empty() && mkdir(part.c_str(), 0755) != 0 && errno != EEXIST) {
            LOGE("mkdir(%s) failed : %s", part.c_str(), std::strerror(errno));
            return false;
        }
        if (end == std::string::npos)
            return true;
    }
}

bool writeFile(const std::string& path, const XmlFileInfo& info) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        LOGE("fopen(%s) failed : %s", path.c_str(), std::strerror(errno));
        return false;
    }
    bool ok = std::fwrite(info.contents, 1, static_cast<size_t>(info.size), file) ==
                  static_cast<size_t>(info.size) &&
              std::fflush(file) == 0;
    if (ok && fsync(fileno(file)) != 0) {
        LOGE("fsync() for (%s) failed : %s", path.c_str(), std::strerror(errno));
        ok = false;
    }
    if (std::fclose(file) != 0) {
        LOGE("fclose() for (%s) failed : %s", path.c_str(), std::strerror(errno));
        ok = false;
    }
    if (!ok) {
        LOGE("Can't write file : [%s]", path.c_str());
        return false;
    }
    LOGI("File created : [%s]", path.c_str());
    return true;
}

bool repairFiles(const std::string& webRoot) {
    if (!createPath(webRoot))
        return false;
    for (const XmlFileInfo* info = XML_FILES; info->fileName != nullptr; ++info) {
        if (!writeFile(joinPath(webRoot, info->fileName), *info))
            return false;
    }
    return true;
}

// An existing link to the right file stays; anything else at that name is replaced.
bool linkIcon(const std::string& target, const std::string& link) {
    char current[4096];
    const ssize_t length = readlink(link.c_str(), current, sizeof(current) - 1);
    if (length >= 0 && target == std::string(current, static_cast<size_t>(length)))
        return true;
    if (access(target.c_str(), R_OK) != 0)
        LOGE("icon %s is missing; the link will dangle", target.c_str());
    if ((unlink(link.c_str()) != 0 && errno != ENOENT) ||
        symlink(target.c_str(), link.c_str()) != 0) {
        LOGE("symlink(%s, %s) failed : %s", target.c_str(), link.c_str(), std::strerror(errno));
        return false;
    }
    return true;
}

}  // namespace

const XmlFileInfo* ipControlXmlFiles() {
    return XML_FILES;
}

bool restoreIPControlDeviceTemplates(const std::string& webRoot) {
    if (webRoot.empty()) {
        LOGE("[%s] deviceWebRootPath(%s) - null param", __func__, webRoot.c_str());
        return false;
    }
    if (checkFiles(webRoot)) {
        LOGI("XML files for device %s/%s are good", webRoot.c_str(), IPCONTROL_DEVICE_DESCRIPTION);
        return true;
    }
    if (!repairFiles(webRoot)) {
        LOGE("[%s] %s xml create failed", __func__, webRoot.c_str());
        return false;
    }
    return true;
}

bool restoreIPControlIconsLinks(const std::string& iconsFolder, const std::string& webRoot) {
    if (iconsFolder.empty()) {
        LOGE("[%s] iconsFolder(%s) - null param", __func__, iconsFolder.c_str());
        return false;
    }
    if (webRoot.empty()) {
        LOGE("[%s] iconLinkFolder(%s) - null param", __func__, webRoot.c_str());
        return false;
    }
    for (const char* icon : ICONS) {
        if (!linkIcon(joinPath(iconsFolder, icon), joinPath(webRoot, icon))) {
            LOGE("[%s] device icon link failed", __func__);
            return false;
        }
    }
    return true;
}

}  // namespace ip_control
