// The files of the IP-control device's web root: the description templates, their integrity
// check and repair, and the icon links. Called on the thread that initialises the device.
#pragma once

#include <string>

namespace ip_control {

// Names inside the URNs and the description; fixed for the product.
extern const char* const IPCONTROL_UPNP_DOMAIN;          // "orvane-com"
extern const char* const IPCONTROL_DLNA_NAMESPACE;       // bound to the "orv" prefix
extern const char* const IPCONTROL_DEVICE_TYPE;          // urn:...:device:IPControlServer:1
extern const char* const IPCONTROL_SERVICE_TYPE;         // urn:...:service:IPControlService:1
extern const char* const IPCONTROL_DEVICE_DESCRIPTION;   // "DeviceDescription.xml"
extern const char* const IPCONTROL_SERVICE_DESCRIPTION;  // "IPControlService_1.xml"

// One file the web root must hold.
struct XmlFileInfo {
    const char* fileName;  // relative, "./" first; null ends the table
    const char* contents;
    int size;
};

// The table of web-root files, ended by an all-null row.
const XmlFileInfo* ipControlXmlFiles();

// Checks the web root's files and, when any is missing or damaged, creates the folder with its
// parents and writes every file anew from its template.
bool restoreIPControlDeviceTemplates(const std::string& webRoot);
// Links webRoot/<icon> to iconsFolder/<icon> for the four device icons.
bool restoreIPControlIconsLinks(const std::string& iconsFolder, const std::string& webRoot);

}  // namespace ip_control
