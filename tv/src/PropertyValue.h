// One typed property value: an integer, a bool, a text or a JSON text.
#pragma once

#include <string>

#include "dynf.h"

typedef struct _JsonNode JsonNode;

namespace ipc_tv {

// A value as the framework carries it. Not thread-safe: one thread at a time per object.
class PropertyValue {
public:
    PropertyValue() = default;  // the integer 0
    static PropertyValue ofInt(int value);
    static PropertyValue ofBool(bool value);
    static PropertyValue ofString(std::string text);
    static PropertyValue ofJson(std::string json);

    dynf_property_type_e type() const { return m_type; }
    int intValue() const { return m_int; }
    bool boolValue() const { return m_bool; }
    // The text of a string or JSON-string value; empty for the others.
    const std::string& text() const { return m_text; }
    bool isText() const;

    // True when the value can stand for a property of the given type: the same type, or a text
    // and a JSON text for one another.
    bool fits(dynf_property_type_e type) const;
    // The same content as `type` (a text becomes a JSON text and back); the value unchanged
    // when it does not fit.
    PropertyValue as(dynf_property_type_e type) const;
    bool operator==(const PropertyValue& other) const;
    bool operator!=(const PropertyValue& other) const { return !(*this == other); }

    // The value as a JSON node (a JSON text as its text, a JSON string); the caller owns it.
    JsonNode* toJson() const;
    // The value of the given type in a JSON node; false when the node holds no such value.
    static bool fromJson(JsonNode* node, dynf_property_type_e type, PropertyValue& value);

private:
    dynf_property_type_e m_type = DYNF_PROPERTY_INT;
    int m_int = 0;
    bool m_bool = false;
    std::string m_text;
};

}  // namespace ipc_tv
