// Reading of the profile's "tv" section.
#include "TvConfig.h"

#include <climits>
#include <cstring>

#include <json-glib/json-glib.h>

#include "ConnectedDevices.h"
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

// A non-empty array of distinct non-empty strings (empty allowed when mayBeEmpty).
bool readWords(JsonNode* node, bool mayBeEmpty, std::vector<std::string>& words) {
    if (node == nullptr || !JSON_NODE_HOLDS_ARRAY(node)) {
        return false;
    }
    JsonArray* array = json_node_get_array(node);
    std::set<std::string> seen;
    words.clear();
    for (guint index = 0; index < json_array_get_length(array); ++index) {
        JsonNode* element = json_array_get_element(array, index);
        const char* word =
            valueType(element) == G_TYPE_STRING ? json_node_get_string(element) : nullptr;
        if (word == nullptr || *word == '\0' || !seen.insert(word).second) {
            return false;
        }
        words.push_back(word);
    }
    return mayBeEmpty || !words.empty();
}

bool readBool(JsonNode* node, bool& value) {
    if (valueType(node) != G_TYPE_BOOLEAN) {
        return false;
    }
    value = json_node_get_boolean(node);
    return true;
}

// The product's domains and devices; false when the name is none of them or the value is
// refused (error says which).
bool readProductMember(const char* name, JsonNode* node, TvConfig& config, std::string& error) {
    const std::string member = name;
    long long count = 0;
    std::string list;
    bool read = true;
    if (member == "hdmiCount") {
        read = readInteger(node, 1, 8, count);
        config.hdmiCount = static_cast<int>(count);
    } else if (member == "extendedSources") {
        read = readWords(node, true, config.extendedSources);
    } else if (member == "pictureModes") {
        read = readWords(node, false, config.pictureModes);
    } else if (member == "soundModes") {
        read = readWords(node, false, config.soundModes);
    } else if (member == "speakers" || member == "usbDevices") {
        const bool speakers = member == "speakers";
        read = speakers ? readSpeakers(node, list) : readUsbDevices(node, list);
        config.initial[speakers ? kSpeakerList : kUsbDeviceList] = PropertyValue::ofJson(list);
    } else if (member == "apps") {
        read = config.apps.parse(node, error);
    } else if (member == "artMode") {
        read = readBool(node, config.artMode);
    } else if (member == "multiView") {
        read = readBool(node, config.multiView);
    } else if (member == "displayRotation") {
        read = readBool(node, config.displayRotation);
    } else if (member == "wall") {
        read = readWallStates(node, config.wallStates, error);
        config.wall = true;
    } else {
        error = "tv: unknown member \"" + member +
                "\" (initial, ambientType, unsupported, knobs, hdmiCount, extendedSources, "
                "pictureModes, soundModes, speakers, usbDevices, apps, artMode, multiView, "
                "displayRotation, wall)";
        return false;
    }
    if (!read) {
        error = "tv." + member + " is not a value it takes" + (error.empty() ? "" : ": " + error);
    }
    return read;
}

bool readMember(const char* name, JsonNode* node, const PropertySchema& schema, TvConfig& config,
                std::string& error) {
    if (std::strcmp(name, "initial") == 0) {
        // Read once the product's domains are known.
        return true;
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
    return readProductMember(name, node, config, error);
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
    if (!forEachMember(root,
                       [&](const char* name, JsonNode* member) {
                           return readMember(name, member, schema, config, error);
                       }) ||
        (json_object_has_member(json_node_get_object(root), "initial") &&
         !readInitial(json_object_get_member(json_node_get_object(root), "initial"),
                      config.productSchema(schema), config, error))) {
        if (error.empty()) {
            error = "tv is not an object";
        }
        return false;
    }
    *this = config;
    return true;
}

PropertySchema TvConfig::productSchema(const PropertySchema& base) const {
    std::vector<std::string> inputs = {"dtv", "atv"};
    for (int number = 1; number <= hdmiCount; ++number) {
        inputs.push_back("HDMI" + std::to_string(number));
    }
    return base.withWords(kPictureMode, pictureModes)
        .withWords(kSoundMode, soundModes)
        .withWords(kInputSource, inputs);
}

std::set<std::string> TvConfig::unsupportedNames() const {
    std::set<std::string> names = unsupported;
    const std::pair<bool, std::vector<const char*>> capabilities[] = {
        {artMode, {kArtMode}},
        {multiView, {kMultiView}},
        {displayRotation, {kDisplayRotation}},
        {wall, {kWallAmbient, kWallBoxStates, kWallCabinetGroupIds, kWallCabinetStates}},
    };
    for (const auto& [has, properties] : capabilities) {
        if (!has) {
            names.insert(properties.begin(), properties.end());
        }
    }
    return names;
}

}  // namespace ipc_tv
