// The properties the virtual TV serves: name, type, value domain, default and the rules of each.
#pragma once

#include <climits>
#include <string>
#include <vector>

#include "PropertyValue.h"
#include "dynf.h"

namespace ipc_tv {

inline constexpr char kPowerValue[] = "powerValue";
inline constexpr char kAmbientMode[] = "ambientMode";

// One row of the schema.
struct PropertySpec {
    std::string name;
    dynf_property_type_e type = DYNF_PROPERTY_INT;
    PropertyValue defaultValue;
    // The domain: for a text, the allowed words (none: any text); for an integer, the range.
    // A bool takes both values; a JSON text any text that parses as JSON.
    std::vector<std::string> words;
    int min = INT_MIN;
    int max = INT_MAX;
    bool wall = false;               // served by the wall service
    bool writableInStandby = false;  // a write is taken while the TV is off

    // True when the value (of this property's type) lies in the domain.
    bool accepts(const PropertyValue& value) const;
};

// An immutable table of rows. Thread-safe (never changes after construction).
class PropertySchema {
public:
    explicit PropertySchema(std::vector<PropertySpec> rows);
    // The TV's own properties.
    static const PropertySchema& builtIn();

    // Null for a name the TV does not know.
    const PropertySpec* find(const std::string& name) const;
    const std::vector<PropertySpec>& rows() const { return m_rows; }

private:
    std::vector<PropertySpec> m_rows;
};

}  // namespace ipc_tv
