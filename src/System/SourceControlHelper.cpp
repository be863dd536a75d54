// Source control: the input source vocabulary, the USB device list and the USB choice.
#include "System/SourceControlHelper.h"

#include "JsonValue.h"
#include "Log.h"
#include "Manager/CmdRequest.h"
#include "System/CmdRequestFields.h"

using common::json::JsonType;
using common::json::JsonValue;

namespace {

const char* const kInputSource = "inputSource";
const char* const kExtendedSource = "extendedSource";
const char* const kUsbList = "connectedExtendedSourceList";
const char* const kDeviceName = "deviceName";
const char* const kDeviceId = "deviceId";
const char* const kTv = "TV";
const char* const kDtv = "dtv";

// True for true, a non-zero number, or the text "true" or "1".
bool isSet(const JsonValue& value) {
    switch (value.type()) {
        case JsonType::boolValue:
            return value.asBool();
        case JsonType::intValue:
        case JsonType::doubleValue:
            return value.asDouble() != 0;
        case JsonType::stringValue:
            return value.asString() == "true" || value.asString() == "1";
        default:
            return false;
    }
}

// One entry of the client's USB list from one framework entry.
JsonValue usbEntry(const JsonValue& source) {
    JsonValue entry(JsonType::objectValue);
    entry[kDeviceName] = cmdfields::scalarText(source["name"]);
    entry[kDeviceId] = cmdfields::scalarText(source["id"]);
    entry["source"] = "USB";
    const JsonValue& errorCode = source["errorCode"];
    const std::string code = cmdfields::scalarText(errorCode);
    const bool failed = !code.empty() && code != "0" && code != "false";
    entry["available"] = !failed && !isSet(source["unavailable"]);
    entry["errorCode"] = errorCode.isNull() ? JsonValue(0) : errorCode;
    return entry;
}

}  // namespace

dynf_property_list_h SourceControlHelper::getPropertyData(CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return nullptr;
    }
    switch (request->propType) {
        case INPUT_SOURCE_CONTROL:
            return _getInputSourcePropertyInternal(request);
        case USB_SOURCE_CONTROL:
            return _getUSBSourcePropertyInternal(request);
        default:
            return createList(nullptr);
    }
}

void SourceControlHelper::_readAnswer(dynf_property_list_h result, CmdRequest* request) {
    if (request->propType == INPUT_SOURCE_CONTROL) {
        _handleInputSourceResult(result, request);
    } else if (request->propType == USB_SOURCE_CONTROL) {
        _handleUSBSourceResult(result, request);
    }
}

dynf_property_list_h SourceControlHelper::_getInputSourcePropertyInternal(CmdRequest* request) {
    if (!cmdfields::hasValueParams(*request)) {
        LOGI("no Param");
        dynf_property_list_h list = createList(dynf_property_create_string(kInputSource, ""));
        if (list != nullptr &&
            !pushProperty(list, dynf_property_create_string(kExtendedSource, ""))) {
            dynf_property_list_destroy(list);
            return nullptr;
        }
        return list;
    }
    LOGI("hasParams!");
    std::string source;
    if (!readStringParam(request, kInputSource, source)) {
        return nullptr;
    }
    if (source == kTv) {
        return createList(
            dynf_property_create_string(kInputSource, toFrameworkSource(source).c_str()));
    }
    if (source.find("HDMI") != std::string::npos) {
        return createList(dynf_property_create_string(kInputSource, source.c_str()));
    }
    if (source == "USB") {
        LOGE("no support for USB in INPUT SOURCE");
        return nullptr;
    }
    return createList(dynf_property_create_string(kExtendedSource, source.c_str()));
}

dynf_property_list_h SourceControlHelper::_getUSBSourcePropertyInternal(CmdRequest* request) {
    if (!cmdfields::hasValueParams(*request)) {
        LOGI("no Param");
        return createList(dynf_property_create_json_string(kUsbList, "[]"));
    }
    LOGI("hasParams!");
    std::string name;
    std::string id;
    if (!readStringParam(request, kDeviceName, name) || !readStringParam(request, kDeviceId, id)) {
        return nullptr;
    }
    if (name.empty() || id.empty()) {
        LOGE("param has empty string! deviceName->(%s), deviceId->(%s)", name.c_str(), id.c_str());
        return nullptr;
    }
    JsonValue choice(JsonType::objectValue);
    choice[kDeviceName] = name;
    choice["additionalData"] = id;
    const std::string text = choice.toString();
    LOGI("dynf_str_val->(%s)", text.c_str());
    return createList(dynf_property_create_string(kExtendedSource, text.c_str()));
}

void SourceControlHelper::_handleInputSourceResult(dynf_property_list_h result,
                                                   CmdRequest* request) {
    JsonValue& answer = cmdfields::resultObject(*request);  // {} when neither source is set
    std::string extended;
    if (!findStringProperty(result, kExtendedSource, extended, request)) {
        return;
    }
    LOGI("val->(%s)", extended.c_str());
    if (!extended.empty()) {
        answer[kInputSource] = extended;  // the extended source wins
        return;
    }
    std::string input;
    if (!findStringProperty(result, kInputSource, input, request)) {
        return;
    }
    LOGI("temp_val->(%s)", input.c_str());
    if (!input.empty()) {
        answer[kInputSource] = toClientSource(input);
    }
}

std::string SourceControlHelper::toClientSource(const std::string& framework) {
    return framework == kDtv ? kTv : framework;
}

std::string SourceControlHelper::toFrameworkSource(const std::string& client) {
    return client == kTv ? kDtv : client;
}

void SourceControlHelper::_handleUSBSourceResult(dynf_property_list_h result, CmdRequest* request) {
    JsonValue devices(JsonType::arrayValue);
    if (result == nullptr) {
        // The framework answered an error: no device can be chosen now.
        LOGE("received null pointer for list! -> generating empty list...");
        request->result = devices;
        return;
    }
    std::string text;
    if (!findStringProperty(result, kUsbList, text, request)) {
        return;
    }
    LOGI("val->(%s)", text.c_str());
    const JsonValue sources = JsonValue::Create(text);
    if (sources.type() != JsonType::arrayValue) {
        LOGE("parse got dirty data!");
        handleError(DYNF_ERROR_UNKNOWN, request);
        return;
    }
    for (size_t i = 0; i < sources.size(); ++i) {
        if (sources[i].type() == JsonType::objectValue) {
            devices.append(usbEntry(sources[i]));
        }
    }
    LOGI("resultStr->(%s)", devices.toString().c_str());
    request->result = devices;
    LOGI("parse success!");
}

std::string SourceControlHelper::_usageKey(const CmdRequest& request) const {
    if (request.propType == INPUT_SOURCE_CONTROL) {
        return kInputSource;
    }
    if (request.propType == USB_SOURCE_CONTROL && cmdfields::hasValueParams(request)) {
        return kDeviceName;
    }
    return "";
}
