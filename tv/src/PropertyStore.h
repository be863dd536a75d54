// The TV's property values and the checks of a request's list against the schema, the product
// and the TV's condition.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "PropertyList.h"
#include "PropertySchema.h"

namespace ipc_tv {

// Holds a value for every row of the schema, starting from the rows' defaults. Not thread-safe:
// its owner serialises every call.
class PropertyStore {
public:
    // unsupported: the names this product does not have.
    PropertyStore(PropertySchema schema, std::set<std::string> unsupported);

    const PropertySchema& schema() const { return m_schema; }
    bool isSupported(const std::string& name) const { return m_unsupported.count(name) == 0; }
    const std::set<std::string>& unsupported() const { return m_unsupported; }

    // What a request meets besides the schema and the product.
    struct Conditions {
        bool wallAvailable = true;  // the wall service answers its properties
        bool standby = false;       // the TV is off: writes only to writable-in-standby rows
        // Checks of a write beyond its row's domain (the TV's current state); may be empty.
        std::function<dynf_error(const std::string& name, const PropertyValue& value)> validate;
    };
    // DYNF_ERROR_NONE, or the error of the first property that fails. Per property, in this
    // order: unknown or internal name, a value of another type, a read of a write-only or a
    // write of a read-only property 5, a name twice in a write 5, not on this product 3, wall
    // service unavailable 2, standby 2 (writes), outside the domain 4 then the validator's
    // answer (writes); an empty list is 5.
    dynf_error checkGet(const dynf_property_list_s& list, const Conditions& conditions) const;
    dynf_error checkSet(const dynf_property_list_s& list, const Conditions& conditions) const;

    // A fresh list with the current values of the names, in their order.
    PropertyListPtr valuesOf(const std::vector<std::string>& names) const;
    PropertyListPtr valuesOf(const dynf_property_list_s& list) const;
    // The value of a row of the schema.
    const PropertyValue& value(const std::string& name) const;
    // Stores a value of a known row without checks; true when it changed.
    bool set(const std::string& name, const PropertyValue& value);
    const std::map<std::string, PropertyValue>& values() const { return m_values; }

private:
    dynf_error _check(const dynf_property_list_s& list, const Conditions& conditions,
                      bool isWrite) const;

    const PropertySchema m_schema;
    const std::set<std::string> m_unsupported;
    std::map<std::string, PropertyValue> m_values;
};

}  // namespace ipc_tv
