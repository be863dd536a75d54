// The framework's property and property-list functions.
#include <new>

#include "PropertyList.h"
#include "dynf.h"

using ipc_tv::PropertyValue;

namespace {

dynf_property_h createProperty(const char* name, PropertyValue value) {
    if (name == nullptr) {
        return nullptr;
    }
    auto* property = new (std::nothrow) dynf_property_s;
    if (property != nullptr) {
        property->name = name;
        property->value = std::move(value);
    }
    return property;
}

}  // namespace

namespace ipc_tv {

void addProperty(dynf_property_list_s& list, const std::string& name, const PropertyValue& value) {
    auto property = std::make_unique<dynf_property_s>();
    property->name = name;
    property->value = value;
    property->inList = true;
    list.items.push_back(std::move(property));
}

PropertyListPtr copyList(const dynf_property_list_s& list) {
    auto copy = std::make_unique<dynf_property_list_s>();
    for (const auto& property : list.items) {
        addProperty(*copy, property->name, property->value);
    }
    return copy;
}

}  // namespace ipc_tv

extern "C" {

dynf_property_h dynf_property_create_int(const char* name, int value) {
    return createProperty(name, PropertyValue::ofInt(value));
}

dynf_property_h dynf_property_create_bool(const char* name, bool value) {
    return createProperty(name, PropertyValue::ofBool(value));
}

dynf_property_h dynf_property_create_string(const char* name, const char* value) {
    return value != nullptr ? createProperty(name, PropertyValue::ofString(value)) : nullptr;
}

dynf_property_h dynf_property_create_json_string(const char* name, const char* json) {
    return json != nullptr ? createProperty(name, PropertyValue::ofJson(json)) : nullptr;
}

void dynf_property_destroy(dynf_property_h property) {
    // A property in a list belongs to the list.
    if (property != nullptr && !property->inList) {
        delete property;
    }
}

const char* dynf_property_get_name(dynf_property_h property) {
    return property != nullptr ? property->name.c_str() : nullptr;
}

dynf_property_type_e dynf_property_get_type(dynf_property_h property) {
    return property != nullptr ? property->value.type() : DYNF_PROPERTY_INT;
}

int dynf_property_get_int(dynf_property_h property, int* value) {
    if (property == nullptr || value == nullptr || property->value.type() != DYNF_PROPERTY_INT) {
        return DYNF_ERROR_MALFORMED_REQUEST;
    }
    *value = property->value.intValue();
    return DYNF_ERROR_NONE;
}

int dynf_property_get_bool(dynf_property_h property, bool* value) {
    if (property == nullptr || value == nullptr || property->value.type() != DYNF_PROPERTY_BOOL) {
        return DYNF_ERROR_MALFORMED_REQUEST;
    }
    *value = property->value.boolValue();
    return DYNF_ERROR_NONE;
}

int dynf_property_get_string(dynf_property_h property, const char** value) {
    if (property == nullptr || value == nullptr || !property->value.isText()) {
        return DYNF_ERROR_MALFORMED_REQUEST;
    }
    *value = property->value.text().c_str();
    return DYNF_ERROR_NONE;
}

dynf_property_list_h dynf_property_list_create(void) {
    return new (std::nothrow) dynf_property_list_s;
}

void dynf_property_list_destroy(dynf_property_list_h list) {
    delete list;
}

int dynf_property_list_push(dynf_property_list_h list, dynf_property_h property) {
    // A property already in a list (this one or another) would be freed twice.
    if (list == nullptr || property == nullptr || property->inList) {
        return DYNF_ERROR_MALFORMED_REQUEST;
    }
    list->items.emplace_back(property);
    property->inList = true;
    return DYNF_ERROR_NONE;
}

size_t dynf_property_list_size(dynf_property_list_h list) {
    return list != nullptr ? list->items.size() : 0;
}

dynf_property_h dynf_property_list_get(dynf_property_list_h list, size_t index) {
    return list != nullptr && index < list->items.size() ? list->items[index].get() : nullptr;
}

dynf_property_h dynf_property_list_find(dynf_property_list_h list, const char* name) {
    if (list == nullptr || name == nullptr) {
        return nullptr;
    }
    for (const auto& property : list->items) {
        if (property->name == name) {
            return property.get();
        }
    }
    return nullptr;
}

}  // extern "C"
