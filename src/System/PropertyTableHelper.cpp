// Table-driven control helper: one property per method, and the JSON and refusal steps.
#include "System/PropertyTableHelper.h"

#include <utility>

#include "JsonValue.h"
#include "Log.h"
#include "Manager/CmdRequest.h"
#include "System/CmdRequestFields.h"

using common::json::JsonType;
using common::json::JsonValue;

PropertyTableHelper::PropertyTableHelper(std::vector<PropertyRow> rows) : m_rows(std::move(rows)) {}

dynf_property_list_h PropertyTableHelper::getPropertyData(CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return nullptr;
    }
    const PropertyRow* row = findRow(request->propType);
    if (row == nullptr) {
        return _getCompositePropertyData(request);
    }
    if (cmdfields::hasValueParams(*request) && !requireParam(request, row->key)) {
        return nullptr;
    }
    return row->kind == DYNF_PROPERTY_STRING
               ? getPropertyDataInternalString(request, row->key, row->property)
               : getPropertyDataInternalInt(request, row->key, row->property);
}

void PropertyTableHelper::handleResult(const dynf_error& error, dynf_property_list_h result,
                                       CmdRequest* request) {
    LOGI("handleResult");
    if (request == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    if (!_acceptAnswer(error, request)) {
        const std::string key = _usageKey(*request);
        if (!key.empty() && !request->bJsonRpcError && cmdfields::hasValueParams(*request)) {
            sendKPILog(key, cmdfields::resultText(*request, key), request);
        }
        return;
    }
    const PropertyRow* row = findRow(request->propType);
    if (row != nullptr) {
        _handleRowResult(*row, result, request);
    } else {
        _handleCompositeResult(result, request);
    }
}

dynf_property_list_h PropertyTableHelper::_getCompositePropertyData(CmdRequest* request) {
    LOGE("no property for type(%d)", request->propType);
    return nullptr;
}

bool PropertyTableHelper::_acceptAnswer(const dynf_error& error, CmdRequest* request) {
    return preHandleResult(error, request);
}

void PropertyTableHelper::_handleCompositeResult(dynf_property_list_h /*result*/,
                                                 CmdRequest* request) {
    LOGE("no reader for type(%d)", request->propType);
    cmdfields::setError(*request, SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_FAILED);
}

std::string PropertyTableHelper::_usageKey(const CmdRequest& request) const {
    const PropertyRow* row = findRow(request.propType);
    return row != nullptr ? row->key : "";
}

void PropertyTableHelper::_handleRowResult(const PropertyRow& row, dynf_property_list_h result,
                                           CmdRequest* request) {
    if (row.kind == DYNF_PROPERTY_STRING) {
        std::string value;
        if (findStringProperty(result, row.property, value, request)) {
            cmdfields::resultObject(*request)[row.key] = value;
        }
    } else {
        int value = 0;
        if (findIntProperty(result, row.property, value, request)) {
            cmdfields::resultObject(*request)[row.key] = value;
        }
    }
}

const PropertyRow* PropertyTableHelper::findRow(int type) const {
    for (const PropertyRow& row : m_rows) {
        if (row.type == type) {
            return &row;
        }
    }
    return nullptr;
}

bool PropertyTableHelper::requireParam(const CmdRequest* request, const std::string& key) {
    if (request->params.type() == JsonType::objectValue && request->params.isMember(key)) {
        return true;
    }
    LOGE("params lack \"%s\"", key.c_str());
    return false;
}

dynf_property_list_h PropertyTableHelper::createJsonList(const std::string& name,
                                                         const JsonValue& value) {
    const std::string text = value.toString();
    LOGI("%s->(%s)", name.c_str(), text.c_str());
    return createList(dynf_property_create_json_string(name.c_str(), text.c_str()));
}

bool PropertyTableHelper::readJsonResult(dynf_property_list_h list, const std::string& name,
                                         JsonType kind, JsonValue& out, CmdRequest* request) {
    std::string text;
    if (!findStringProperty(list, name, text, request)) {
        return false;
    }
    JsonValue parsed = JsonValue::Create(text);
    if (parsed.type() != kind) {
        LOGE("%s is not of the expected kind: %s", name.c_str(), text.c_str());
        handleError(DYNF_ERROR_UNKNOWN, request);
        return false;
    }
    out = std::move(parsed);
    return true;
}
