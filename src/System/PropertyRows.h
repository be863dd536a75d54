// The methods a helper serves with one integer or string property each.
#pragma once

#include <initializer_list>
#include <vector>

#include "System/TVControlPropType.h"
#include "dynf.h"

// One method served by a single property: the client's key in params and result, the
// framework's property name, and the property's kind (DYNF_PROPERTY_INT or DYNF_PROPERTY_STRING).
struct PropertyRow {
    DYNF_TVCONTROL_PROP_TYPE type;
    const char* key;
    const char* property;
    dynf_property_type_e kind;
};

// A helper's table of such methods, fixed when the helper is made; read-only afterwards, so safe
// from any thread. The base's row steps (ControlHelperBase) build and read them.
class PropertyRows {
public:
    PropertyRows(std::initializer_list<PropertyRow> rows) : m_rows(rows) {}
    // The row of type, or null.
    const PropertyRow* find(int type) const {
        for (const PropertyRow& row : m_rows) {
            if (row.type == type) {
                return &row;
            }
        }
        return nullptr;
    }

private:
    const std::vector<PropertyRow> m_rows;
};
