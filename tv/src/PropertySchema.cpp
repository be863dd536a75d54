// The schema of the virtual TV's properties and the checks of a value against its domain.
#include "PropertySchema.h"

#include <algorithm>

#include <json-glib/json-glib.h>

namespace ipc_tv {

namespace {

bool isJsonText(const std::string& text) {
    g_autoptr(JsonParser) parser = json_parser_new_immutable();
    return json_parser_load_from_data(parser, text.data(), static_cast<gssize>(text.size()),
                                      nullptr) &&
           json_parser_get_root(parser) != nullptr;
}

PropertySpec textRow(const char* name, std::vector<std::string> words, const char* initial) {
    PropertySpec row;
    row.name = name;
    row.type = DYNF_PROPERTY_STRING;
    row.defaultValue = PropertyValue::ofString(initial);
    row.words = std::move(words);
    return row;
}

PropertySpec intRow(const char* name, int min, int max, int initial) {
    PropertySpec row;
    row.name = name;
    row.defaultValue = PropertyValue::ofInt(initial);
    row.min = min;
    row.max = max;
    return row;
}

PropertySpec boolRow(const char* name, bool initial) {
    PropertySpec row;
    row.name = name;
    row.type = DYNF_PROPERTY_BOOL;
    row.defaultValue = PropertyValue::ofBool(initial);
    return row;
}

PropertySpec jsonRow(const char* name, const char* initial, Access access) {
    PropertySpec row;
    row.name = name;
    row.type = DYNF_PROPERTY_JSON_STRING;
    row.defaultValue = PropertyValue::ofJson(initial);
    row.access = access;
    return row;
}

PropertySpec internal(PropertySpec row) {
    row.access = Access::Internal;
    return row;
}

std::vector<PropertySpec> builtInRows() {
    // Power: "reboot" takes the TV through off and back on; the power manager applies it.
    PropertySpec power = textRow(kPowerValue, {"on", "off", "reboot"}, "on");
    power.writableInStandby = true;
    // Keys reach the TV in standby; all but the power key are then refused.
    PropertySpec remoteKey = jsonRow(kRemoteKey, "{}", Access::WriteOnly);
    remoteKey.writableInStandby = true;
    return {
        power,
        // Ambient mode: 0 off, 1 to 3 the kinds of ambient screen.
        intRow(kAmbientMode, 0, 3, 0),
        // Picture: the modes come from the profile; these are a TV's usual ones.
        textRow(kPictureMode, {"Dynamic", "Standard", "Natural", "Movie", "Filmmaker Mode"},
                "Standard"),
        textRow("pictureSizeIPControl", {"16:9", "4:3", "Fit to Screen", "Custom"}, "16:9"),
        intRow("contrast", 0, 50, 45),
        intRow("brightness", 0, 50, 25),
        intRow("color", 0, 50, 25),
        intRow("sharpness", 0, 20, 10),
        intRow("tint", -50, 50, 0),
        // Sound.
        intRow(kVolume, 0, 100, 15),
        boolRow(kMute, false),
        textRow(kSoundMode, {"Standard", "Optimized", "Amplify", "Adaptive Sound"}, "Standard"),
        textRow(kSpeaker, {"internal", "external", "optical", "hdmi"}, "internal"),
        // Reads answer the connected speakers; a write of one of them selects it.
        jsonRow(kSpeakerList, "[]", Access::ReadWrite),
        // Sources: the HDMI inputs come from the profile; "" while an extended source is on.
        textRow(kInputSource, {"dtv", "atv", "HDMI1", "HDMI2", "HDMI3", "HDMI4"}, "dtv"),
        // A profile's extended source or a connected USB device (checked by the controls).
        textRow(kExtendedSource, {}, ""),
        jsonRow(kUsbDeviceList, "[]", Access::ReadOnly),
        remoteKey,
        // Reads answer the foreground application.
        jsonRow(kLaunchApp, "{}", Access::ReadWrite),
        textRow(kArtMode, {"on", "off"}, "off"),
        jsonRow(kFirstScreenAppList, "[]", Access::ReadOnly),
        jsonRow(kFirstScreenAppId, "{}", Access::ReadWrite),
        internal(intRow(kChannelMajor, 0, 999, 1)),
        internal(intRow(kChannelMinor, 0, 999, 0)),
        internal(textRow(kLastKey, {}, "")),
        internal(intRow(kKeyCount, 0, 999999, 0)),
        internal(boolRow(kMultiView, false)),
        internal(textRow(kForegroundUrl, {}, "")),
        internal(textRow(kExternalSpeakerId, {}, "")),
    };
}

}  // namespace

bool PropertySpec::accepts(const PropertyValue& value) const {
    switch (type) {
        case DYNF_PROPERTY_INT:
            return value.intValue() >= min && value.intValue() <= max;
        case DYNF_PROPERTY_BOOL:
            return true;
        case DYNF_PROPERTY_STRING:
            return words.empty() ||
                   std::find(words.begin(), words.end(), value.text()) != words.end();
        case DYNF_PROPERTY_JSON_STRING:
            return isJsonText(value.text());
    }
    return false;
}

PropertySchema::PropertySchema(std::vector<PropertySpec> rows) : m_rows(std::move(rows)) {}

const PropertySchema& PropertySchema::builtIn() {
    static const PropertySchema schema(builtInRows());
    return schema;
}

PropertySchema PropertySchema::withWords(const std::string& name,
                                         std::vector<std::string> words) const {
    PropertySchema schema = *this;
    for (PropertySpec& row : schema.m_rows) {
        if (row.name != name || row.type != DYNF_PROPERTY_STRING || words.empty()) {
            continue;
        }
        if (std::find(words.begin(), words.end(), row.defaultValue.text()) == words.end()) {
            row.defaultValue = PropertyValue::ofString(words.front());
        }
        row.words = std::move(words);
        break;
    }
    return schema;
}

const PropertySpec* PropertySchema::find(const std::string& name) const {
    for (const PropertySpec& row : m_rows) {
        if (row.name == name) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace ipc_tv
