// Reading of the profile's "tv" section.
#include "TvConfig.h"

#include <climits>
#include <cstring>

#include <json-glib/json-glib.h>

#include "TvJson.h"

namespace ipc_tv {

namespace {

bool readInitial(JsonNode* node, const PropertySchema& schema, TvConfig& config,
                 std::string& error) {
    const bool read = forEachMember(node, [&](const char* name, JsonNode* member) {
        const PropertySpec* row = schema.find(name);
        PropertyValue value;
        if (row == nullptr) {
            error = std::string("tv.initial: unknown property \"") + name + "\"";
            return false;
        }
        if (!PropertyValue::fromJson(member, row->type, value) || !row->accepts(value)) {
            error = std::string("tv.initial.") + name + " is not a value of the property";
            return false;
        }
        config.initial[name] = value;
        return true;
    });
    if (!read && error.empty()) {
        error = "tv.initial is not an object";
    }
    return read;
}

bool readUnsupported(JsonNode* node, const PropertySchema& schema, TvConfig& config,
                     std::string& error) {
    if (!JSON_NODE_HOLDS_ARRAY(node)) {
        error = "tv.unsupported is not an array of property names";
        return false;
    }
    JsonArray* names = json_node_get_array(node);
    for (guint index = 0; index < json_array_get_length(names); ++index) {
        JsonNode* element = json_array_get_element(names, index);
        const char* name =
            valueType(element) == G_TYPE_STRING ? json_node_get_string(element) : nullptr;
        if (name == nullptr || schema.find(name) == nullptr) {
            error = "tv.unsupported holds something other than a property name";
            return false;
        }
        config.unsupported.insert(name);
    }
    return true;
}

bool readMember(const char* name, JsonNode* node, const PropertySchema& schema, TvConfig& config,
                std::string& error) {
    if (std::strcmp(name, "initial") == 0) {
        return readInitial(node, schema, config, error);
    }
    if (std::strcmp(name, "ambientType") == 0) {
        long long type = 0;
        if (!readInteger(node, INT_MIN, INT_MAX, type)) {
            error = "tv.ambientType is not a 32-bit integer";
            return false;
        }
        config.ambientType = static_cast<int>(type);
        return true;
    }
    if (std::strcmp(name, "unsupported") == 0) {
        return readUnsupported(node, schema, config, error);
    }
    if (std::strcmp(name, "knobs") == 0) {
        if (!config.knobs.apply(node, error)) {
            error = "tv.knobs: " + error;
            return false;
        }
        return true;
    }
    error = std::string("tv: unknown member \"") + name +
            "\" (initial, ambientType, unsupported, knobs)";
    return false;
}

}  // namespace

bool TvConfig::parse(const std::string& text, const PropertySchema& schema, std::string& error) {
    if (text.empty()) {
        return true;
    }
    g_autoptr(JsonParser) parser = json_parser_new_immutable();
    JsonNode* root =
        json_parser_load_from_data(parser, text.data(), static_cast<gssize>(text.size()), nullptr)
            ? json_parser_get_root(parser)
            : nullptr;
    TvConfig config;
    error.clear();
    if (!forEachMember(root, [&](const char* name, JsonNode* member) {
            return readMember(name, member, schema, config, error);
        })) {
        if (error.empty()) {
            error = "tv is not an object";
        }
        return false;
    }
    *this = config;
    return true;
}

}  // namespace ipc_tv
