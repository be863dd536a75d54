// Typed property values and their JSON form.
#include "PropertyValue.h"

#include <climits>

#include <json-glib/json-glib.h>

#include "TvJson.h"

namespace ipc_tv {

PropertyValue PropertyValue::ofInt(int value) {
    PropertyValue result;
    result.m_int = value;
    return result;
}

PropertyValue PropertyValue::ofBool(bool value) {
    PropertyValue result;
    result.m_type = DYNF_PROPERTY_BOOL;
    result.m_bool = value;
    return result;
}

PropertyValue PropertyValue::ofString(std::string text) {
    PropertyValue result;
    result.m_type = DYNF_PROPERTY_STRING;
    result.m_text = std::move(text);
    return result;
}

PropertyValue PropertyValue::ofJson(std::string json) {
    PropertyValue result;
    result.m_type = DYNF_PROPERTY_JSON_STRING;
    result.m_text = std::move(json);
    return result;
}

bool PropertyValue::isText() const {
    return m_type == DYNF_PROPERTY_STRING || m_type == DYNF_PROPERTY_JSON_STRING;
}

bool PropertyValue::fits(dynf_property_type_e type) const {
    if (isText()) {
        return type == DYNF_PROPERTY_STRING || type == DYNF_PROPERTY_JSON_STRING;
    }
    return type == m_type;
}

PropertyValue PropertyValue::as(dynf_property_type_e type) const {
    PropertyValue result = *this;
    if (isText() && fits(type)) {
        result.m_type = type;
    }
    return result;
}

bool PropertyValue::operator==(const PropertyValue& other) const {
    return m_type == other.m_type && m_int == other.m_int && m_bool == other.m_bool &&
           m_text == other.m_text;
}

JsonNode* PropertyValue::toJson() const {
    JsonNode* node = json_node_new(JSON_NODE_VALUE);
    switch (m_type) {
        case DYNF_PROPERTY_INT:
            json_node_set_int(node, m_int);
            break;
        case DYNF_PROPERTY_BOOL:
            json_node_set_boolean(node, m_bool);
            break;
        case DYNF_PROPERTY_STRING:
        case DYNF_PROPERTY_JSON_STRING:
            json_node_set_string(node, m_text.c_str());
            break;
    }
    return node;
}

bool PropertyValue::fromJson(JsonNode* node, dynf_property_type_e type, PropertyValue& value) {
    const GType held = valueType(node);
    switch (type) {
        case DYNF_PROPERTY_INT: {
            long long number = 0;
            if (!readInteger(node, INT_MIN, INT_MAX, number)) {
                return false;
            }
            value = ofInt(static_cast<int>(number));
            return true;
        }
        case DYNF_PROPERTY_BOOL:
            if (held != G_TYPE_BOOLEAN) {
                return false;
            }
            value = ofBool(json_node_get_boolean(node) != FALSE);
            return true;
        case DYNF_PROPERTY_STRING:
        case DYNF_PROPERTY_JSON_STRING:
            if (held != G_TYPE_STRING) {
                return false;
            }
            value = ofString(json_node_get_string(node)).as(type);
            return true;
    }
    return false;
}

}  // namespace ipc_tv
