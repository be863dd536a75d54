// Reading of the wall's boxes and cabinets and the cabinet filter.
#include "WallStates.h"

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

#include <json-glib/json-glib.h>

#include "AdminJson.h"
#include "TvJson.h"

namespace ipc_tv {

namespace {

using ipc_platform::JsonNodePtr;

constexpr long long kMinTemperature = -40;
constexpr long long kMaxTemperature = 150;
constexpr long long kMaxPlace = 64;  // rows and columns

// Copies a string member: a required one is non-empty; an optional one may be empty or absent
// (then "").
bool copyText(JsonObject* in, JsonObject* out, const char* name, bool optional = false) {
    JsonNode* member = json_object_get_member(in, name);
    if (member == nullptr && optional) {
        json_object_set_string_member(out, name, "");
        return true;
    }
    if (valueType(member) != G_TYPE_STRING || (!optional && *json_node_get_string(member) == 0)) {
        return false;
    }
    json_object_set_string_member(out, name, json_node_get_string(member));
    return true;
}

bool copyInteger(JsonObject* in, JsonObject* out, const char* name, long long min, long long max) {
    long long value = 0;
    if (!readInteger(json_object_get_member(in, name), min, max, value)) {
        return false;
    }
    json_object_set_int_member(out, name, value);
    return true;
}

bool copyPower(JsonObject* in, JsonObject* out) {
    const char* power = json_object_get_string_member_with_default(in, "power", "");
    if (std::string(power) != "on" && std::string(power) != "off") {
        return false;
    }
    json_object_set_string_member(out, "power", power);
    return true;
}

// The canonical array of the objects read from an array node; false when an element is
// refused or the idName member repeats.
template <typename Read>
bool readArray(JsonNode* node, const char* idName, std::string& json, Read read) {
    if (node == nullptr || !JSON_NODE_HOLDS_ARRAY(node)) {
        return false;
    }
    JsonArray* in = json_node_get_array(node);
    g_autoptr(JsonNode) out = json_node_new(JSON_NODE_ARRAY);
    json_node_take_array(out, json_array_new());
    std::set<std::string> ids;
    for (guint index = 0; index < json_array_get_length(in); ++index) {
        JsonNode* element = json_array_get_element(in, index);
        JsonObject* entry = json_object_new();
        json_array_add_object_element(json_node_get_array(out), entry);
        if (!JSON_NODE_HOLDS_OBJECT(element) ||
            !copyText(json_node_get_object(element), entry, idName) ||
            !ids.insert(json_object_get_string_member(entry, idName)).second ||
            !read(json_node_get_object(element), entry)) {
            return false;
        }
    }
    json = ipc_platform::jsonText(out);
    return true;
}

bool readBoxes(JsonNode* node, std::string& json) {
    return readArray(node, "boxId", json, [](JsonObject* in, JsonObject* out) {
        return copyPower(in, out) &&
               copyInteger(in, out, "temperature", kMinTemperature, kMaxTemperature) &&
               copyText(in, out, "error", true);
    });
}

bool readCabinets(JsonNode* node, WallStates& wall) {
    std::set<std::pair<long long, long long>> places;
    std::vector<std::string> groups;
    const bool read =
        readArray(node, "cabinetId", wall.cabinets, [&](JsonObject* in, JsonObject* out) {
            if (!copyText(in, out, "groupId") || !copyInteger(in, out, "row", 1, kMaxPlace) ||
                !copyInteger(in, out, "column", 1, kMaxPlace) ||
                !places
                     .emplace(json_object_get_int_member(out, "row"),
                              json_object_get_int_member(out, "column"))
                     .second) {
                return false;
            }
            const std::string group = json_object_get_string_member(out, "groupId");
            if (std::find(groups.begin(), groups.end(), group) == groups.end()) {
                groups.push_back(group);
            }
            return copyPower(in, out) &&
                   copyInteger(in, out, "temperature", kMinTemperature, kMaxTemperature) &&
                   copyText(in, out, "error", true);
        });
    g_autoptr(JsonNode) ids = json_node_new(JSON_NODE_ARRAY);
    json_node_take_array(ids, json_array_new());
    for (const std::string& group : groups) {
        json_array_add_string_element(json_node_get_array(ids), group.c_str());
    }
    wall.groupIds = ipc_platform::jsonText(ids);
    return read;
}

// The string member of a filter; present is false when the filter has no such member.
std::string filterMember(JsonObject* filter, const char* name, bool& present) {
    JsonNode* member = filter != nullptr ? json_object_get_member(filter, name) : nullptr;
    present = member != nullptr;
    // A member of another type matches no cabinet.
    return valueType(member) == G_TYPE_STRING ? json_node_get_string(member) : "\n";
}

}  // namespace

bool readWallStates(JsonNode* node, WallStates& wall, std::string& error) {
    WallStates read;
    bool valid = forEachMember(node, [&](const char* name, JsonNode* member) {
        const std::string key = name;
        return key == "boxes" ? readBoxes(member, read.boxes)
                              : key == "cabinets" && readCabinets(member, read);
    });
    if (!valid) {
        error =
            "wall takes {\"boxes\": [{\"boxId\", \"power\", \"temperature\", \"error\"}], "
            "\"cabinets\": [{\"cabinetId\", \"groupId\", \"row\", \"column\", \"power\", "
            "\"temperature\", \"error\"}]} with distinct ids and places";
        return false;
    }
    wall = read;
    return true;
}

std::string cabinetsMatching(const std::string& cabinets, const std::string& filter) {
    std::string error;
    const JsonNodePtr all = ipc_platform::parseJsonText(cabinets, error);
    const JsonNodePtr wanted = ipc_platform::parseJsonText(filter, error);
    JsonObject* object = wanted != nullptr && JSON_NODE_HOLDS_OBJECT(wanted.get())
                             ? json_node_get_object(wanted.get())
                             : nullptr;
    bool byGroup = false;
    bool byCabinet = false;
    const std::string group = filterMember(object, "groupId", byGroup);
    const std::string cabinet = filterMember(object, "cabinetId", byCabinet);
    if (all == nullptr || !JSON_NODE_HOLDS_ARRAY(all.get())) {
        return "[]";
    }
    g_autoptr(JsonNode) out = json_node_new(JSON_NODE_ARRAY);
    json_node_take_array(out, json_array_new());
    JsonArray* in = json_node_get_array(all.get());
    for (guint index = 0; index < json_array_get_length(in); ++index) {
        JsonObject* entry = json_array_get_object_element(in, index);
        if ((!byGroup || group == json_object_get_string_member(entry, "groupId")) &&
            (!byCabinet || cabinet == json_object_get_string_member(entry, "cabinetId"))) {
            json_array_add_element(json_node_get_array(out),
                                   json_node_copy(json_array_get_element(in, index)));
        }
    }
    return ipc_platform::jsonText(out);
}

}  // namespace ipc_tv
