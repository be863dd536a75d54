// Devices plugged into the TV: external speakers and USB storage, kept as JSON arrays.
#pragma once

#include <string>
#include <vector>

typedef struct _JsonNode JsonNode;

namespace ipc_tv {

// Thread-safe: the functions share nothing.

// One connected device as the TV uses it.
struct Device {
    std::string id;
    std::string name;
    bool usable = true;  // a USB device without an error that is not marked unavailable
};

// The speakers of a JSON array of {"id", "name"} (strings, distinct ids) as the canonical JSON
// text the TV serves; false when the node is not such an array.
bool readSpeakers(JsonNode* node, std::string& json);
// The USB devices of a JSON array of {"name", "id", optional "uniqueKey" (default the id),
// "errorCode" (default 0) and "unavailable" (default false)} as the canonical JSON text of
// {"name", "id", "uniqueKey", "errorCode", "unavailable"}; false when it is not such an array.
bool readUsbDevices(JsonNode* node, std::string& json);
// The devices of a canonical list; none when the text is not one.
std::vector<Device> devicesOf(const std::string& json);
// The device with that id; nullptr when there is none.
const Device* findDevice(const std::vector<Device>& devices, const std::string& id);

}  // namespace ipc_tv
