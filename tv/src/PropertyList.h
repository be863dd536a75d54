// The framework's property and property-list objects behind dynf_property_h and
// dynf_property_list_h.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "PropertyValue.h"
#include "dynf.h"

// A named value. Not thread-safe: one thread at a time.
struct dynf_property_s {
    std::string name;
    ipc_tv::PropertyValue value;
    bool inList = false;  // owned by a list: freed with it, never on its own
};

// Properties in the order they were pushed; the list owns them. Not thread-safe: one thread at
// a time.
struct dynf_property_list_s {
    std::vector<std::unique_ptr<dynf_property_s>> items;
};

namespace ipc_tv {

using PropertyListPtr = std::unique_ptr<dynf_property_list_s>;

// Appends a new property to the list.
void addProperty(dynf_property_list_s& list, const std::string& name, const PropertyValue& value);
// A copy of the list and its properties.
PropertyListPtr copyList(const dynf_property_list_s& list);

}  // namespace ipc_tv
