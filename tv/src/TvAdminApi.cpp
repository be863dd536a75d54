// The virtual TV's state section and routes on the admin server.
#include "TvAdminApi.h"

#include <cstdlib>
#include <mutex>

#include <json-glib/json-glib.h>

#include "AdminServer.h"
#include "ConnectedDevices.h"
#include "CurrentTv.h"
#include "TvJson.h"
#include "TvLog.h"
#include "VirtualTv.h"
#include "vconf.h"

using ipc_platform::AdminReply;
using ipc_platform::AdminRequest;
using ipc_platform::JsonNodePtr;

namespace ipc_tv {

namespace {

constexpr unsigned int kBadRequest = 400;
constexpr unsigned int kConflict = 409;
constexpr unsigned int kServerError = 500;
constexpr unsigned int kUnavailable = 503;

constexpr char kConfigFlagsKey[] = "db/private/ipcontrol/config_flags";
constexpr char kTestWallMode[] = "test_wall_mode";

// Serialises the read-modify-write of the flags by concurrent requests.
std::mutex g_flagsMutex;

JsonNodePtr objectNode(JsonObject* object) {
    JsonNode* node = json_node_new(JSON_NODE_OBJECT);
    json_node_take_object(node, object);
    return JsonNodePtr(node);
}

// The plug-in's flags object from the key-value store; a new empty one when the key is absent
// or does not hold an object. The caller owns the result.
JsonObject* readFlags() {
    char* text = vconf_get_str(kConfigFlagsKey);
    JsonObject* flags = nullptr;
    if (text != nullptr) {
        std::string error;
        JsonNodePtr node = ipc_platform::parseJsonText(text, error);
        if (node != nullptr && JSON_NODE_HOLDS_OBJECT(node.get())) {
            flags = json_object_ref(json_node_get_object(node.get()));
        }
        free(text);
    }
    return flags != nullptr ? flags : json_object_new();
}

bool testWallMode() {
    JsonObject* flags = readFlags();
    JsonNode* member = json_object_get_member(flags, kTestWallMode);
    const bool on = valueType(member) == G_TYPE_BOOLEAN && json_node_get_boolean(member);
    json_object_unref(flags);
    return on;
}

JsonNodePtr stateSection() {
    const std::shared_ptr<VirtualTv> tv = currentTv();
    if (tv == nullptr) {
        return nullptr;
    }
    const VirtualTv::Snapshot state = tv->snapshot();
    JsonObject* properties = json_object_new();
    for (const auto& [name, value] : state.properties) {
        json_object_set_member(properties, name.c_str(), value.toJson());
    }
    JsonArray* unsupported = json_array_new();
    for (const std::string& name : state.unsupported) {
        json_array_add_string_element(unsupported, name.c_str());
    }
    JsonArray* inputs = json_array_new();
    for (const std::string& input : state.inputs) {
        json_array_add_string_element(inputs, input.c_str());
    }
    JsonObject* service = json_object_new();
    json_object_set_boolean_member(service, "tv", state.tvServiceAvailable);
    json_object_set_boolean_member(service, "wall", state.knobs.wallServiceAvailable);

    JsonObject* section = json_object_new();
    json_object_set_string_member(section, "power", VirtualTv::powerName(state.power));
    json_object_set_boolean_member(section, "ambient", state.ambientMode != 0);
    json_object_set_int_member(section, "ambientMode", state.ambientMode);
    json_object_set_int_member(section, "ambientType", state.ambientType);
    json_object_set_object_member(section, "service", service);
    json_object_set_member(section, "knobs", state.knobs.toJson());
    json_object_set_object_member(section, "properties", properties);
    json_object_set_array_member(section, "unsupported", unsupported);
    json_object_set_array_member(section, "inputs", inputs);
    json_object_set_member(section, "apps", tv->apps().toJson());
    json_object_set_boolean_member(section, "multiViewSupported", state.multiView);
    json_object_set_int_member(section, "clients", static_cast<gint64>(state.clients));
    json_object_set_boolean_member(section, "testWallMode", testWallMode());
    return objectNode(section);
}

AdminReply notRunning() {
    return AdminReply::error(kUnavailable, "the virtual TV is not running");
}

AdminReply putKnobs(const AdminRequest& request) {
    const std::shared_ptr<VirtualTv> tv = currentTv();
    if (tv == nullptr) {
        return notRunning();
    }
    std::string error;
    if (!tv->applyKnobs(request.body.get(), error)) {
        return AdminReply::error(kBadRequest, error);
    }
    return AdminReply::json(JsonNodePtr(tv->snapshot().knobs.toJson()));
}

// A change at the TV itself; the section when it was taken.
AdminReply setLocally(const std::string& name, const PropertyValue& value,
                      const std::string& valueRefusal) {
    const std::shared_ptr<VirtualTv> tv = currentTv();
    if (tv == nullptr) {
        return notRunning();
    }
    switch (tv->setLocally(name, value)) {
        case DYNF_ERROR_NONE:
            return AdminReply::json(stateSection());
        case DYNF_ERROR_NOT_AVAILABLE:
            return AdminReply::error(kConflict, tv->snapshot().power == VirtualTv::Power::Off
                                                    ? "the TV is off"
                                                    : "the TV is restarting");
        case DYNF_ERROR_NOT_SUPPORTED:
            return AdminReply::error(kConflict, "this TV has no " + name);
        default:
            return AdminReply::error(kBadRequest, valueRefusal);
    }
}

AdminReply putPower(const AdminRequest& request) {
    constexpr char kRefusal[] = "power takes \"on\", \"off\" or \"reboot\"";
    if (valueType(request.body.get()) != G_TYPE_STRING) {
        return AdminReply::error(kBadRequest, kRefusal);
    }
    return setLocally(kPowerValue,
                      PropertyValue::ofString(json_node_get_string(request.body.get())), kRefusal);
}

AdminReply putAmbientMode(const AdminRequest& request) {
    constexpr char kRefusal[] = "ambientMode takes an integer from 0 to 3";
    JsonNode* body = request.body.get();
    if (valueType(body) != G_TYPE_INT64 || json_node_get_int(body) < 0 ||
        json_node_get_int(body) > 3) {
        return AdminReply::error(kBadRequest, kRefusal);
    }
    return setLocally(kAmbientMode, PropertyValue::ofInt(static_cast<int>(json_node_get_int(body))),
                      kRefusal);
}

// Plugs in or out the TV's external speakers or USB devices: the body is the whole new list.
AdminReply putDevices(const AdminRequest& request, const char* listName,
                      bool (*read)(JsonNode*, std::string&), const char* refusal) {
    const std::shared_ptr<VirtualTv> tv = currentTv();
    if (tv == nullptr) {
        return notRunning();
    }
    std::string json;
    if (!read(request.body.get(), json)) {
        return AdminReply::error(kBadRequest, refusal);
    }
    if (tv->connectDevices(listName, json) != DYNF_ERROR_NONE) {
        return AdminReply::error(kConflict, "the TV is restarting");
    }
    return AdminReply::json(stateSection());
}

AdminReply putSpeakers(const AdminRequest& request) {
    return putDevices(request, kSpeakerList, readSpeakers,
                      "speakers takes an array of {\"id\", \"name\"} with distinct ids");
}

AdminReply putUsbDevices(const AdminRequest& request) {
    return putDevices(request, kUsbDeviceList, readUsbDevices,
                      "usbDevices takes an array of {\"name\", \"id\"} with distinct ids and "
                      "optional \"uniqueKey\", \"errorCode\" and \"unavailable\"");
}

AdminReply putTestWallMode(const AdminRequest& request) {
    JsonNode* body = request.body.get();
    if (valueType(body) != G_TYPE_BOOLEAN) {
        return AdminReply::error(kBadRequest, "testWallMode takes true or false");
    }
    const bool on = json_node_get_boolean(body);
    std::lock_guard<std::mutex> lock(g_flagsMutex);
    JsonObject* flags = readFlags();
    json_object_set_boolean_member(flags, kTestWallMode, on);
    const std::string text = ipc_platform::jsonText(objectNode(flags).get());
    if (vconf_set_str(kConfigFlagsKey, text.c_str()) != 0) {
        return AdminReply::error(kServerError, "the key-value store could not be written");
    }
    dlog_print(DLOG_INFO, kLogTag, "test wall mode %s", on ? "on" : "off");
    JsonObject* result = json_object_new();
    json_object_set_boolean_member(result, "testWallMode", on);
    return AdminReply::json(objectNode(result));
}

}  // namespace

void addTvAdminApi(ipc_platform::AdminServer& server) {
    server.addStateSection("tv", stateSection);
    server.addRoute("PUT", "/api/tv/knobs", putKnobs);
    server.addRoute("PUT", "/api/tv/power", putPower);
    server.addRoute("PUT", "/api/tv/ambientMode", putAmbientMode);
    server.addRoute("PUT", "/api/tv/testWallMode", putTestWallMode);
    server.addRoute("PUT", "/api/tv/speakers", putSpeakers);
    server.addRoute("PUT", "/api/tv/usbDevices", putUsbDevices);
}

}  // namespace ipc_tv
