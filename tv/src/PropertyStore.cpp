// Property values and request checks of the virtual TV.
#include "PropertyStore.h"

namespace ipc_tv {

PropertyStore::PropertyStore(PropertySchema schema, std::set<std::string> unsupported)
    : m_schema(std::move(schema)), m_unsupported(std::move(unsupported)) {
    for (const PropertySpec& row : m_schema.rows()) {
        m_values[row.name] = row.defaultValue;
    }
}

dynf_error PropertyStore::checkGet(const dynf_property_list_s& list,
                                   const Conditions& conditions) const {
    return _check(list, conditions, false);
}

dynf_error PropertyStore::checkSet(const dynf_property_list_s& list,
                                   const Conditions& conditions) const {
    return _check(list, conditions, true);
}

dynf_error PropertyStore::_check(const dynf_property_list_s& list, const Conditions& conditions,
                                 bool isWrite) const {
    if (list.items.empty()) {
        return DYNF_ERROR_MALFORMED_REQUEST;
    }
    std::set<std::string> seen;
    for (const auto& property : list.items) {
        const PropertySpec* row = m_schema.find(property->name);
        if (row == nullptr || row->access == Access::Internal || !property->value.fits(row->type) ||
            row->access == (isWrite ? Access::ReadOnly : Access::WriteOnly)) {
            return DYNF_ERROR_MALFORMED_REQUEST;
        }
        if (isWrite && !seen.insert(row->name).second) {
            return DYNF_ERROR_MALFORMED_REQUEST;
        }
        if (!isSupported(row->name)) {
            return DYNF_ERROR_NOT_SUPPORTED;
        }
        if (row->wall && !conditions.wallAvailable) {
            return DYNF_ERROR_NOT_AVAILABLE;
        }
        if (!isWrite) {
            continue;
        }
        if (conditions.standby && !row->writableInStandby) {
            return DYNF_ERROR_NOT_AVAILABLE;
        }
        if (!row->accepts(property->value)) {
            return DYNF_ERROR_INVALID_VALUE;
        }
        if (conditions.validate) {
            const dynf_error error = conditions.validate(row->name, property->value);
            if (error != DYNF_ERROR_NONE) {
                return error;
            }
        }
    }
    return DYNF_ERROR_NONE;
}

PropertyListPtr PropertyStore::valuesOf(const std::vector<std::string>& names) const {
    auto list = std::make_unique<dynf_property_list_s>();
    for (const std::string& name : names) {
        addProperty(*list, name, value(name));
    }
    return list;
}

PropertyListPtr PropertyStore::valuesOf(const dynf_property_list_s& list) const {
    std::vector<std::string> names;
    for (const auto& property : list.items) {
        names.push_back(property->name);
    }
    return valuesOf(names);
}

const PropertyValue& PropertyStore::value(const std::string& name) const {
    static const PropertyValue kNone;
    const auto it = m_values.find(name);
    return it != m_values.end() ? it->second : kNone;
}

bool PropertyStore::set(const std::string& name, const PropertyValue& value) {
    const auto it = m_values.find(name);
    if (it == m_values.end() || it->second == value) {
        return false;
    }
    it->second = value;
    return true;
}

}  // namespace ipc_tv
