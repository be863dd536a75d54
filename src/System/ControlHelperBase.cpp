// The shared helper steps: error table, write echo, property builders and readers, KPI events.
#include "System/ControlHelperBase.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <utility>

#include "Common/KPILogger.h"
#include "JsonValue.h"
#include "Log.h"
#include "Manager/CmdRequest.h"
#include "System/CmdRequestFields.h"

using common::json::JsonType;
using common::json::JsonValue;

namespace {

// Text read as the C library's decimal conversion reads it: leading blanks and a sign, then the
// digits up to the first other character ("13abc" is 13). False without a digit or beyond int.
bool parseDecimalInt(const std::string& text, int& out) {
    errno = 0;
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (end == text.c_str() || errno == ERANGE || value < INT_MIN || value > INT_MAX) {
        return false;
    }
    out = static_cast<int>(value);
    return true;
}

// A JSON integer that fits an int, or text as parseDecimalInt() reads it.
bool toInt(const JsonValue& value, int& out) {
    if (value.type() == JsonType::stringValue) {
        return parseDecimalInt(value.asString(), out);
    }
    if (value.type() != JsonType::intValue) {
        return false;
    }
    const long long number = value.asInt64();
    if (number < INT_MIN || number > INT_MAX) {
        return false;
    }
    out = static_cast<int>(number);
    return true;
}

// The params member name, read without adding it: params are echoed as they came.
const JsonValue& paramOf(const CmdRequest& request, const std::string& name) {
    const JsonValue& params = request.params;
    if (params.type() != JsonType::objectValue) {
        return JsonValue::Null::null_instance();
    }
    return params[name];
}

}  // namespace

dynf_property_list_h ControlHelperBase::getPropertyData(CmdRequest* /*request*/) {
    return nullptr;
}

void ControlHelperBase::handleResult(const dynf_error& error, dynf_property_list_h result,
                                     CmdRequest* request) {
    LOGI("handleResult");
    if (request == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    if (_acceptAnswer(error, request)) {
        _readAnswer(result, request);
    }
    // Usage counts what was done: after any error, even one a helper answers, nothing is sent.
    if (error == DYNF_ERROR_NONE && !request->bJsonRpcError) {
        _sendKPILog(request);
    }
}

bool ControlHelperBase::_acceptAnswer(const dynf_error& error, CmdRequest* request) {
    return preHandleResult(error, request);
}

void ControlHelperBase::_readAnswer(dynf_property_list_h /*result*/, CmdRequest* request) {
    LOGE("no reader for type(%d)", request->propType);
    cmdfields::setError(*request, SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_FAILED);
}

std::string ControlHelperBase::_usageKey(const CmdRequest& /*request*/) const {
    return "";
}

void ControlHelperBase::_sendKPILog(CmdRequest* request) {
    const std::string key = _usageKey(*request);
    if (!key.empty()) {
        sendKPILog(key, cmdfields::resultText(*request, key), request);
    }
}

bool ControlHelperBase::preHandleResult(const dynf_error& error, CmdRequest* request) {
    LOGI("preHandleResult");
    if (request == nullptr) {
        LOGE("invalid pointer");
        return false;
    }
    if (!_allowErrorCase(error, request)) {
        LOGE("not allowed error case!");
        handleError(error, request);
        return false;
    }
    if (cmdfields::hasValueParams(*request)) {
        LOGI("set operation handling...");
        request->result = cmdfields::paramsWithoutToken(*request);
        return false;
    }
    return true;
}

void ControlHelperBase::handleError(const dynf_error& error, CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    switch (error) {
        case DYNF_ERROR_UNKNOWN:
        case DYNF_ERROR_NOT_AVAILABLE:
            cmdfields::setError(*request, SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_UNKNOWN);
            break;
        case DYNF_ERROR_INVALID_VALUE:
            cmdfields::setError(*request, INVALID_PARAMS, DEVICE_MANAGER_ERROR_INVALID_OPERATION);
            break;
        case DYNF_ERROR_MALFORMED_REQUEST:
            cmdfields::setError(*request, INVALID_REQUEST, DEVICE_MANAGER_ERROR_INVALID_OPERATION);
            break;
        default:
            cmdfields::setError(*request, SERVER_ERROR_INVALID_OPERATION,
                                DEVICE_MANAGER_ERROR_FAILED);
            break;
    }
}

bool ControlHelperBase::_allowErrorCase(const dynf_error& error, const CmdRequest* request) {
    bool allow = false;
    const bool answersItsOwnFailures =
        request->propType == USB_SOURCE_CONTROL || request->propType == EXTERNAL_SPEAKER_CONTROL;
    if (answersItsOwnFailures && !cmdfields::hasValueParams(*request)) {
        allow = true;
    } else if (error == DYNF_ERROR_NONE) {
        LOGI("changing allow to true since there's no error!");
        allow = true;
    } else {
        LOGE("error->(%d), changing allow to false!", error);
    }
    LOGI("allow->(%d)", allow);
    return allow;
}

dynf_property_h ControlHelperBase::getPropertyHandle(dynf_property_list_h list,
                                                     const std::string& name, CmdRequest* request) {
    dynf_property_h property =
        list != nullptr ? dynf_property_list_find(list, name.c_str()) : nullptr;
    if (property == nullptr) {
        LOGE("failed to get property from property_list");
        handleError(DYNF_ERROR_NOT_AVAILABLE, request);
    }
    return property;
}

dynf_property_list_h ControlHelperBase::getPropertyDataInternalInt(
    CmdRequest* request, const std::string& key, const std::string& propertyName) {
    dynf_property_list_h list = dynf_property_list_create();
    if (!addPropertyDataInternalInt(list, request, key, propertyName)) {
        dynf_property_list_destroy(list);
        return nullptr;
    }
    return list;
}

bool ControlHelperBase::addPropertyDataInternalInt(dynf_property_list_h list, CmdRequest* request,
                                                   const std::string& key,
                                                   const std::string& propertyName) {
    if (list == nullptr || request == nullptr) {
        LOGE("invalid pointer");
        return false;
    }
    int value = 0;
    if (cmdfields::hasValueParams(*request)) {
        LOGI("hasParams!");
        if (!readIntParam(request, key, value)) {
            return false;
        }
        LOGI("int val -> (%d)", value);
    }
    return pushProperty(list, dynf_property_create_int(propertyName.c_str(), value));
}

dynf_property_list_h ControlHelperBase::getPropertyDataInternalString(
    CmdRequest* request, const std::string& key, const std::string& propertyName) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return nullptr;
    }
    std::string value;
    if (cmdfields::hasValueParams(*request)) {
        LOGI("hasParams!");
        if (!readStringParam(request, key, value)) {
            return nullptr;
        }
    }
    return createList(dynf_property_create_string(propertyName.c_str(), value.c_str()));
}

dynf_property_list_h ControlHelperBase::createList(dynf_property_h property) {
    if (property == nullptr) {
        LOGE("invalid pointer");
        return nullptr;
    }
    dynf_property_list_h list = dynf_property_list_create();
    if (!pushProperty(list, property)) {
        dynf_property_list_destroy(list);
        return nullptr;
    }
    return list;
}

bool ControlHelperBase::readIntParam(const CmdRequest* request, const std::string& key, int& out) {
    if (toInt(paramOf(*request, key), out)) {
        return true;
    }
    LOGE("parse got dirty data!");
    return false;
}

bool ControlHelperBase::readStringParam(const CmdRequest* request, const std::string& key,
                                        std::string& out) {
    const JsonValue& value = paramOf(*request, key);
    if (value.type() == JsonType::objectValue || value.type() == JsonType::arrayValue) {
        LOGE("parse got dirty data!");
        return false;
    }
    out = value.isNull() ? std::string() : value.asString();
    LOGI("str val -> (%s)", out.c_str());
    return true;
}

bool ControlHelperBase::requireParam(const CmdRequest* request, const std::string& key) {
    if (request->params.type() == JsonType::objectValue && request->params.isMember(key)) {
        return true;
    }
    LOGE("params lack \"%s\"", key.c_str());
    return false;
}

dynf_property_list_h ControlHelperBase::createJsonList(const std::string& name,
                                                       const JsonValue& value) {
    const std::string text = value.toString();
    LOGI("%s->(%s)", name.c_str(), text.c_str());
    return createList(dynf_property_create_json_string(name.c_str(), text.c_str()));
}

bool ControlHelperBase::refuseWrite(CmdRequest* request) {
    if (!cmdfields::hasValueParams(*request)) {
        return false;
    }
    LOGE("%s only reads", request->method.c_str());
    handleError(DYNF_ERROR_NOT_SUPPORTED, request);
    return true;
}

bool ControlHelperBase::readStringProperty(dynf_property_h property, std::string& out) {
    const char* value = nullptr;
    if (property == nullptr || dynf_property_get_string(property, &value) != 0 ||
        value == nullptr) {
        LOGE("invalid pointer");
        return false;
    }
    out = value;
    return true;
}

bool ControlHelperBase::handleStringResult(dynf_property_list_h list, const std::string& name,
                                           std::string& out, CmdRequest* /*request*/) {
    dynf_property_h property =
        list != nullptr ? dynf_property_list_find(list, name.c_str()) : nullptr;
    if (!readStringProperty(property, out)) {
        return false;
    }
    LOGI("%s->(%s)", name.c_str(), out.c_str());
    return true;
}

bool ControlHelperBase::handleJsonStringArrayResult(
    dynf_property_list_h list, const std::string& name, const std::string& key, CmdRequest* request,
    const std::map<std::string, std::string>& translations) {
    std::string text;
    if (request == nullptr || !handleStringResult(list, name, text, request)) {
        return false;
    }
    LOGI("handleJsonString with key[%s]", key.c_str());
    const JsonValue parsed = JsonValue::Create(text);
    if (parsed.type() != JsonType::arrayValue) {
        LOGE("%s is not a JSON array: %s", name.c_str(), text.c_str());
        return false;
    }
    JsonValue values(JsonType::arrayValue);
    for (size_t i = 0; i < parsed.size(); ++i) {
        const JsonValue& element = parsed[i];
        if (element.type() != JsonType::stringValue) {
            LOGE("%s holds a value that is not a string: %s", name.c_str(), text.c_str());
            return false;
        }
        const std::string value = element.asString();
        const auto translated = translations.find(value);
        values.append(JsonValue(translated != translations.end() ? translated->second : value));
    }
    cmdfields::resultObject(*request)[key] = values;
    return true;
}

bool ControlHelperBase::readJsonResult(dynf_property_list_h list, const std::string& name,
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

dynf_property_list_h ControlHelperBase::getRowPropertyData(const PropertyRows& rows,
                                                           CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return nullptr;
    }
    const PropertyRow* row = rows.find(request->propType);
    if (row == nullptr) {
        LOGE("no property for type(%d)", request->propType);
        return nullptr;
    }
    if (cmdfields::hasValueParams(*request) && !requireParam(request, row->key)) {
        return nullptr;
    }
    return row->kind == DYNF_PROPERTY_STRING
               ? getPropertyDataInternalString(request, row->key, row->property)
               : getPropertyDataInternalInt(request, row->key, row->property);
}

void ControlHelperBase::handleRowResult(const PropertyRows& rows, dynf_property_list_h result,
                                        CmdRequest* request) {
    const PropertyRow* row = rows.find(request->propType);
    if (row == nullptr) {
        ControlHelperBase::_readAnswer(result, request);
    } else if (row->kind == DYNF_PROPERTY_STRING) {
        std::string value;
        if (findStringProperty(result, row->property, value, request)) {
            cmdfields::resultObject(*request)[row->key] = value;
        }
    } else {
        int value = 0;
        if (findIntProperty(result, row->property, value, request)) {
            cmdfields::resultObject(*request)[row->key] = value;
        }
    }
}

std::string ControlHelperBase::rowUsageKey(const PropertyRows& rows, const CmdRequest& request) {
    const PropertyRow* row = rows.find(request.propType);
    return row != nullptr && cmdfields::hasValueParams(request) ? row->key : "";
}

bool ControlHelperBase::findIntProperty(dynf_property_list_h list, const std::string& name,
                                        int& out, CmdRequest* request) {
    dynf_property_h property = getPropertyHandle(list, name, request);
    if (property == nullptr) {
        return false;
    }
    if (dynf_property_get_int(property, &out) != 0) {
        LOGE("%s is not an integer", name.c_str());
        handleError(DYNF_ERROR_NOT_AVAILABLE, request);
        return false;
    }
    return true;
}

bool ControlHelperBase::findBoolProperty(dynf_property_list_h list, const std::string& name,
                                         bool& out, CmdRequest* request) {
    dynf_property_h property = getPropertyHandle(list, name, request);
    if (property == nullptr) {
        return false;
    }
    if (dynf_property_get_bool(property, &out) != 0) {
        LOGE("%s is not a bool", name.c_str());
        handleError(DYNF_ERROR_NOT_AVAILABLE, request);
        return false;
    }
    return true;
}

bool ControlHelperBase::findStringProperty(dynf_property_list_h list, const std::string& name,
                                           std::string& out, CmdRequest* request) {
    dynf_property_h property = getPropertyHandle(list, name, request);
    if (property == nullptr) {
        return false;
    }
    if (!readStringProperty(property, out)) {
        LOGE("%s is not a string", name.c_str());
        handleError(DYNF_ERROR_NOT_AVAILABLE, request);
        return false;
    }
    return true;
}

void ControlHelperBase::sendKPILog(const std::string& propertyName,
                                   const std::string& propertyValue, CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    LOGI("property_name[%s], property_value[%s]", propertyName.c_str(), propertyValue.c_str());
    KPILoggerData data;
    data.kind = KPILoggerData::COMMAND;
    data.isSet = cmdfields::hasValueParams(*request);
    data.requestName = request->method;
    data.propertyName = propertyName;
    data.propertyValue = propertyValue;
    KPILogger::getInstance().sendLog("COMMAND", "EV002", data);
}

bool ControlHelperBase::pushProperty(dynf_property_list_h list, dynf_property_h property) {
    if (property == nullptr) {
        LOGE("invalid pointer");
        return false;
    }
    if (list == nullptr) {
        LOGE("invalid pointer");
        dynf_property_destroy(property);
        return false;
    }
    if (dynf_property_list_push(list, property) != 0) {
        LOGE("not good!");
        dynf_property_destroy(property);
        return false;
    }
    LOGI("good!");
    return true;
}
