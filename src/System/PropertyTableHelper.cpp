// A control helper whose every method reads or writes one property of its table.
#include "System/PropertyTableHelper.h"

#include <utility>

PropertyTableHelper::PropertyTableHelper(PropertyRows rows) : m_rows(std::move(rows)) {}

dynf_property_list_h PropertyTableHelper::getPropertyData(CmdRequest* request) {
    return getRowPropertyData(m_rows, request);
}

void PropertyTableHelper::_readAnswer(dynf_property_list_h result, CmdRequest* request) {
    handleRowResult(m_rows, result, request);
}

std::string PropertyTableHelper::_usageKey(const CmdRequest& request) const {
    return rowUsageKey(m_rows, request);
}
