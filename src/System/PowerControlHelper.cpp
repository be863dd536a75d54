// Power control: the "powerValue" property and the translation of its vocabulary.
#include "System/PowerControlHelper.h"

#include "JsonValue.h"
#include "Log.h"
#include "Manager/CmdRequest.h"
#include "System/CmdRequestFields.h"

using common::json::JsonValue;

namespace {

const char* const kPowerKey = "power";

struct PowerWord {
    const char* client;
    const char* framework;
};

// In the order a client's word is tested.
const PowerWord kPowerWords[] = {
    {"powerOff", "off"},
    {"powerOn", "on"},
    {"reboot", "reboot"},
};

// The framework's word for a client's word, or null.
const char* toFramework(const std::string& client) {
    for (const PowerWord& word : kPowerWords) {
        if (client == word.client) {
            return word.framework;
        }
    }
    return nullptr;
}

// The client's word for a framework's word, or null.
const char* toClient(const std::string& framework) {
    for (const PowerWord& word : kPowerWords) {
        if (framework == word.framework) {
            return word.client;
        }
    }
    return nullptr;
}

}  // namespace

PowerControlHelper::PowerControlHelper() : m_propertyName("powerValue") {}

dynf_property_list_h PowerControlHelper::getPropertyData(CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return nullptr;
    }
    return createList(_getPropertyDataInternal(request));
}

void PowerControlHelper::_readAnswer(dynf_property_list_h result, CmdRequest* request) {
    if (result == nullptr) {
        return;
    }
    dynf_property_h property = getPropertyHandle(result, m_propertyName, request);
    if (property != nullptr) {
        _handlePowerResult(property, request);
    }
}

std::string PowerControlHelper::_usageKey(const CmdRequest& /*request*/) const {
    return kPowerKey;
}

dynf_property_h PowerControlHelper::_getPropertyDataInternal(CmdRequest* request) {
    if (!cmdfields::hasValueParams(*request)) {
        LOGI("no Param");
        return dynf_property_create_string(m_propertyName.c_str(), "");
    }
    LOGI("hasParams!");
    std::string value;
    if (!readStringParam(request, kPowerKey, value)) {
        return nullptr;
    }
    const char* framework = toFramework(value);
    if (framework == nullptr) {
        LOGE("param value is strange! -> [%s]", value.c_str());
        return nullptr;
    }
    return dynf_property_create_string(m_propertyName.c_str(), framework);
}

void PowerControlHelper::_handlePowerResult(dynf_property_h property, CmdRequest* request) {
    JsonValue& result = cmdfields::resultObject(*request);
    std::string value;
    if (!readStringProperty(property, value)) {
        return;
    }
    LOGI("power->(%s)", value.c_str());
    const char* client = toClient(value);
    if (client == nullptr) {
        LOGE("param value is strange! -> [%s]", value.c_str());
        return;
    }
    result[kPowerKey] = client;
}
