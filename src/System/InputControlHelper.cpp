// Input control: the key map and the key press sent through "remoteKey".
#include "System/InputControlHelper.h"

#include "JsonValue.h"
#include "Log.h"
#include "Manager/CmdRequest.h"
#include "System/CmdRequestFields.h"

using common::json::JsonType;
using common::json::JsonValue;

namespace {

const char* const kRemoteKeyParam = "remoteKey";
const char* const kControlParam = "control";

// Client key word and platform key name, in the order the map is filled.
const std::pair<const char*, const char*> kKeys[] = {
    {"power", "KEY_POWER"},
    {"cursorUp", "KEY_UP"},
    {"cursorDn", "KEY_DOWN"},
    {"cursorLeft", "KEY_LEFT"},
    {"cursorRight", "KEY_RIGHT"},
    {"menu", "KEY_MENU"},
    {"firstScreen", "KEY_HOME"},
    {"enter", "KEY_OK"},
    {"fastforward", "KEY_FF"},
    {"rewind", "KEY_REWIND"},
    {"play", "KEY_PLAY"},
    {"stop", "KEY_STOP"},
    {"pause", "KEY_PAUSE"},
    {"return", "KEY_RETURN"},
    {"exit", "KEY_EXIT"},
    {"number1", "KEY_1"},
    {"number2", "KEY_2"},
    {"number3", "KEY_3"},
    {"number4", "KEY_4"},
    {"number5", "KEY_5"},
    {"number6", "KEY_6"},
    {"number7", "KEY_7"},
    {"number8", "KEY_8"},
    {"number9", "KEY_9"},
    {"number0", "KEY_0"},
    {"caption", "KEY_CAPTION"},
    {"dash", "KEY_MINUS"},
    {"red", "KEY_RED"},
    {"green", "KEY_GREEN"},
    {"yellow", "KEY_YELLOW"},
    {"blue", "KEY_BLUE"},
    {"ambient", "KEY_AMBIENT"},
    {"channelUp", "KEY_CHUP"},
    {"channelDn", "KEY_CHDOWN"},
    {"volumeUp", "KEY_VOLUP"},
    {"volumeDn", "KEY_VOLDOWN"},
    {"multiview", "KEY_MULTI_VIEW"},
};

}  // namespace

InputControlHelper::InputControlHelper() : m_propertyName("remoteKey") {
    _generateKeyMap();
}

dynf_property_list_h InputControlHelper::getPropertyData(CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return nullptr;
    }
    switch (request->propType) {
        case VOLUME_UP_DN_CONTROL:
        case CHANNEL_UP_DN_CONTROL:
            return _getPropertyInternal(request, kControlParam);
        case REMOTE_KEY_CONTROL:
            return _getPropertyInternal(request, kRemoteKeyParam);
        default:
            LOGE("not supported type(%d)", request->propType);
            return nullptr;
    }
}

void InputControlHelper::_generateKeyMap() {
    for (const auto& [word, key] : kKeys) {
        m_keyMap.emplace(word, key);
    }
}

dynf_property_list_h InputControlHelper::_getPropertyInternal(CmdRequest* request,
                                                              const std::string& parameter) {
    if (!cmdfields::hasValueParams(*request)) {
        LOGE("does not support get operation!!");
        handleError(DYNF_ERROR_NOT_SUPPORTED, request);
        return nullptr;
    }
    return createList(_createProperty(request, parameter));
}

dynf_property_h InputControlHelper::_createProperty(CmdRequest* request,
                                                    const std::string& parameter) {
    std::string word;
    if (!readStringParam(request, parameter, word)) {
        return nullptr;
    }
    const auto found = m_keyMap.find(word);
    if (found == m_keyMap.end()) {
        LOGE("not found key!! (%s)???", word.c_str());
        handleError(DYNF_ERROR_INVALID_VALUE, request);
        return nullptr;
    }
    JsonValue press(JsonType::objectValue);
    press["keyName"] = found->second;
    press["keyStatus"] = "pressAndRelease";
    const std::string text = press.toString();
    LOGI("generated data -> (%s)", text.c_str());
    return dynf_property_create_json_string(m_propertyName.c_str(), text.c_str());
}

std::string InputControlHelper::_getPropertyName(const CmdRequest* request) {
    return request->propType == REMOTE_KEY_CONTROL ? kRemoteKeyParam : kControlParam;
}

std::string InputControlHelper::_usageKey(const CmdRequest& request) const {
    return _getPropertyName(&request);
}
