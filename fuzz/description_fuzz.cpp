// Fuzz target: device and service description documents as read from the web root, and the
// element edits the service makes on them.
#include <cstdint>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "UpnpDescriptionDevice.h"
#include "UpnpDescriptionService.h"

using ip_control::UpnpDescriptionDevice;
using ip_control::UpnpDescriptionService;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string& path = fuzz::writeScratchFile(data, size, "-description.xml");

    UpnpDescriptionDevice device;
    if (device.parseDescriptionFile(path)) {
        std::string value;
        device.getDeviceElement("friendlyName", value);
        device.setDeviceElement("friendlyName", "Living <Room> & \"Kitchen\"");
        std::vector<UpnpDescriptionDevice::ServiceInfo> services;
        device.getServices(services);
        UpnpDescriptionDevice::ServiceInfo info;
        device.getService("urn:schemas-upnp-org:service:Any:1", info);
    }

    UpnpDescriptionService service;
    if (service.parseServiceFile(path)) {
        std::vector<std::string> actions;
        service.getActions(actions);
        service.addAction("<action><name>Added</name></action>");
    }
    return 0;
}
