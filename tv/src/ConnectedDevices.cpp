// Reading and lookup of the TV's connected devices.
#include "ConnectedDevices.h"

#include <climits>

#include <json-glib/json-glib.h>

#include "AdminJson.h"
#include "TvJson.h"

namespace ipc_tv {

namespace {

// The string member, or false when absent or of another type.
bool readString(JsonObject* object, const char* name, std::string& value) {
    JsonNode* member = json_object_get_member(object, name);
    if (valueType(member) != G_TYPE_STRING) {
        return false;
    }
    value = json_node_get_string(member);
    return true;
}

// Calls read for every element of an array of objects and makes the canonical array of what
// it builds; false when the node is not such an array, an element is refused or an id repeats.
template <typename Read>
bool readList(JsonNode* node, std::string& json, Read read) {
    if (node == nullptr || !JSON_NODE_HOLDS_ARRAY(node)) {
        return false;
    }
    JsonArray* in = json_node_get_array(node);
    g_autoptr(JsonNode) out = json_node_new(JSON_NODE_ARRAY);
    json_node_take_array(out, json_array_new());
    std::vector<Device> seen;
    for (guint index = 0; index < json_array_get_length(in); ++index) {
        JsonNode* element = json_array_get_element(in, index);
        Device device;
        JsonObject* entry = json_object_new();
        json_array_add_object_element(json_node_get_array(out), entry);
        if (!JSON_NODE_HOLDS_OBJECT(element) ||
            !readString(json_node_get_object(element), "id", device.id) ||
            !readString(json_node_get_object(element), "name", device.name) || device.id.empty() ||
            findDevice(seen, device.id) != nullptr ||
            !read(json_node_get_object(element), device, entry)) {
            return false;
        }
        seen.push_back(device);
    }
    json = ipc_platform::jsonText(out);
    return true;
}

}  // namespace

bool readSpeakers(JsonNode* node, std::string& json) {
    return readList(node, json, [](JsonObject*, const Device& device, JsonObject* entry) {
        json_object_set_string_member(entry, "id", device.id.c_str());
        json_object_set_string_member(entry, "name", device.name.c_str());
        return true;
    });
}

bool readUsbDevices(JsonNode* node, std::string& json) {
    return readList(node, json, [](JsonObject* object, const Device& device, JsonObject* entry) {
        std::string uniqueKey = device.id;
        long long errorCode = 0;
        JsonNode* code = json_object_get_member(object, "errorCode");
        JsonNode* unavailable = json_object_get_member(object, "unavailable");
        if ((json_object_has_member(object, "uniqueKey") &&
             !readString(object, "uniqueKey", uniqueKey)) ||
            (code != nullptr && !readInteger(code, INT_MIN, INT_MAX, errorCode)) ||
            (unavailable != nullptr && valueType(unavailable) != G_TYPE_BOOLEAN)) {
            return false;
        }
        json_object_set_string_member(entry, "name", device.name.c_str());
        json_object_set_string_member(entry, "id", device.id.c_str());
        json_object_set_string_member(entry, "uniqueKey", uniqueKey.c_str());
        json_object_set_int_member(entry, "errorCode", errorCode);
        json_object_set_boolean_member(
            entry, "unavailable", unavailable != nullptr && json_node_get_boolean(unavailable));
        return true;
    });
}

std::vector<Device> devicesOf(const std::string& json) {
    std::string error;
    ipc_platform::JsonNodePtr root = ipc_platform::parseJsonText(json, error);
    std::vector<Device> devices;
    if (root == nullptr || !JSON_NODE_HOLDS_ARRAY(root.get())) {
        return devices;
    }
    JsonArray* array = json_node_get_array(root.get());
    for (guint index = 0; index < json_array_get_length(array); ++index) {
        JsonNode* element = json_array_get_element(array, index);
        if (!JSON_NODE_HOLDS_OBJECT(element)) {
            continue;
        }
        JsonObject* object = json_node_get_object(element);
        Device device;
        readString(object, "id", device.id);
        readString(object, "name", device.name);
        JsonNode* code = json_object_get_member(object, "errorCode");
        JsonNode* unavailable = json_object_get_member(object, "unavailable");
        device.usable =
            (code == nullptr || valueType(code) != G_TYPE_INT64 || json_node_get_int(code) == 0) &&
            (valueType(unavailable) != G_TYPE_BOOLEAN || !json_node_get_boolean(unavailable));
        devices.push_back(device);
    }
    return devices;
}

const Device* findDevice(const std::vector<Device>& devices, const std::string& id) {
    for (const Device& device : devices) {
        if (device.id == id) {
            return &device;
        }
    }
    return nullptr;
}

}  // namespace ipc_tv
