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

std::vector<PropertySpec> builtInRows() {
    // Power: "reboot" takes the TV through off and back on; the power manager applies it.
    PropertySpec power = textRow(kPowerValue, {"on", "off", "reboot"}, "on");
    power.writableInStandby = true;
    // Ambient mode: 0 off, 1 to 3 the kinds of ambient screen.
    PropertySpec ambient = intRow(kAmbientMode, 0, 3, 0);
    return {power, ambient};
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

const PropertySpec* PropertySchema::find(const std::string& name) const {
    for (const PropertySpec& row : m_rows) {
        if (row.name == name) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace ipc_tv
