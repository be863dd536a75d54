// Wall mode control: the wall's ambient property and its box and cabinet reads.
#include "System/WallModeControlHelper.h"

#include <string>

#include "JsonValue.h"
#include "Log.h"
#include "Manager/CmdRequest.h"
#include "System/CmdRequestFields.h"

using common::json::JsonType;
using common::json::JsonValue;

namespace {

// A wall read: its property and the client key of the answered array.
struct WallRead {
    DYNF_TVCONTROL_PROP_TYPE type;
    const char* property;
    const char* key;
};

const WallRead kReads[] = {
    {GET_BOX_STATES, "wallBoxStates", "boxes"},
    {GET_CABINET_GROUP_IDS, "wallCabinetGroupIds", "groupIds"},
    {GET_CABINET_STATES, "wallCabinetStates", "cabinets"},
};

// The members of params that filter the cabinets.
const char* const kCabinetFilters[] = {"groupId", "cabinetId"};

const WallRead* findRead(int type) {
    for (const WallRead& read : kReads) {
        if (read.type == type) {
            return &read;
        }
    }
    return nullptr;
}

}  // namespace

WallModeControlHelper::WallModeControlHelper()
    : m_rows({{AMBIENT_CONTROL, "ambient", "wallAmbient", DYNF_PROPERTY_STRING}}) {}

dynf_property_list_h WallModeControlHelper::getPropertyData(CmdRequest* request) {
    if (request == nullptr || m_rows.find(request->propType) != nullptr) {
        return getRowPropertyData(m_rows, request);
    }
    const WallRead* read = findRead(request->propType);
    if (read == nullptr) {
        LOGE("no property for type(%d)", request->propType);
        return nullptr;
    }
    if (read->type != GET_CABINET_STATES) {
        return refuseWrite(request)
                   ? nullptr
                   : createJsonList(read->property, JsonValue(JsonType::arrayValue));
    }
    JsonValue filter(JsonType::objectValue);
    return _buildCabinetFilter(request, filter) ? createJsonList(read->property, filter) : nullptr;
}

bool WallModeControlHelper::_acceptAnswer(const dynf_error& error, CmdRequest* request) {
    if (request->propType != GET_CABINET_STATES) {
        return preHandleResult(error, request);
    }
    if (!_allowErrorCase(error, request)) {
        handleError(error, request);
        return false;
    }
    return true;
}

void WallModeControlHelper::_readAnswer(dynf_property_list_h result, CmdRequest* request) {
    if (m_rows.find(request->propType) != nullptr) {
        handleRowResult(m_rows, result, request);
        return;
    }
    const WallRead* read = findRead(request->propType);
    JsonValue entries;
    if (read != nullptr &&
        readJsonResult(result, read->property, JsonType::arrayValue, entries, request)) {
        request->result = JsonValue(JsonType::objectValue);
        request->result[read->key] = entries;
    }
}

std::string WallModeControlHelper::_usageKey(const CmdRequest& request) const {
    return rowUsageKey(m_rows, request);
}

bool WallModeControlHelper::_buildCabinetFilter(CmdRequest* request, JsonValue& filter) {
    if (!cmdfields::hasValueParams(*request)) {
        return true;
    }
    for (const char* name : kCabinetFilters) {
        if (!request->params.isMember(name)) {
            continue;
        }
        std::string value;
        if (!readStringParam(request, name, value)) {
            return false;
        }
        filter[name] = value;
    }
    return true;
}
