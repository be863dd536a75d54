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

PropertySpec wallRow(PropertySpec row) {
    row.wall = true;
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
        // Expert picture settings.
        textRow("pictureCalibrationMode", {"Off", "Basic", "Professional"}, "Off"),
        intRow("backlight", 0, 50, 25),
        textRow("digitalCleanView", {"Off", "Auto"}, "Off"),
        textRow("autoMotionPlus", {"Off", "Auto", "Custom"}, "Auto"),
        intRow("blurReduction", 0, 10, 0),
        intRow("judderReduction", 0, 10, 0),
        textRow("LEDClearMotion", {"Off", "On"}, "Off"),
        textRow("localDimming", {"Off", "Low", "Standard", "High"}, "Standard"),
        textRow("filmMode", {"Off", "Auto1", "Auto2"}, "Off"),
        textRow("contrastEnhancer", {"Off", "Low", "High"}, "Low"),
        textRow("colorTone", {"Cool", "Standard", "Warm1", "Warm2"}, "Standard"),
        intRow("WB2Point", -50, 50, 0),
        textRow("WB20PointMode", {"Off", "On"}, "Off"),
        intRow("WB20PInterval", 1, 20, 1),
        intRow("WB20PRed", -50, 50, 0),
        intRow("WB20PGreen", -50, 50, 0),
        intRow("WB20PBlue", -50, 50, 0),
        textRow("gammaMode", {"BT.1886", "ST.2084", "HLG", "2.2"}, "BT.1886"),
        intRow("gammaBT1886", -3, 3, 0),
        intRow("gammaST2084", -3, 3, 0),
        intRow("gammaHLG", -3, 3, 0),
        textRow("RGBOnlyMode", {"Off", "Red", "Green", "Blue"}, "Off"),
        textRow("colorSpace", {"Auto", "Native", "Custom"}, "Auto"),
        textRow("colorSpaceColor", {"Red", "Green", "Blue", "Yellow", "Cyan", "Magenta"}, "Red"),
        intRow("colorSpaceColorAdjustmentPoint", 0, 100, 50),
        intRow("colorSpaceRed", 0, 100, 50),
        intRow("colorSpaceGreen", 0, 100, 50),
        intRow("colorSpaceBlue", 0, 100, 50),
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
        // The tuner: a write of either tunes digital TV.
        intRow(kChannelMajor, 1, 999, 1),
        intRow(kChannelMinor, 0, 99, 0),
        textRow(kDisplayRotation, {"landscape", "portrait"}, "landscape"),
        // {"on", "layout", "sources"}; the controls check the layout against the sources.
        jsonRow(kMultiView, R"({"on":false,"layout":"pip","sources":["dtv","HDMI1"]})",
                Access::ReadWrite),
        // The wall: the states come from the profile; a read of the cabinets filters them.
        wallRow(textRow(kWallAmbient, {"on", "off"}, "off")),
        wallRow(jsonRow(kWallBoxStates, "[]", Access::ReadOnly)),
        wallRow(jsonRow(kWallCabinetGroupIds, "[]", Access::ReadOnly)),
        wallRow(jsonRow(kWallCabinetStates, "[]", Access::ReadOnly)),
        internal(textRow(kLastKey, {}, "")),
        internal(intRow(kKeyCount, 0, 999999, 0)),
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
