// Sound control: the sound properties, their word tables and the rebuilt external speaker list.
#include "System/SoundControlHelper.h"

#include <algorithm>

#include "JsonValue.h"
#include "Log.h"
#include "Manager/CmdRequest.h"
#include "System/CmdRequestFields.h"

using common::json::JsonType;
using common::json::JsonValue;

namespace {

const char* const kVolume = "volume";
const char* const kMute = "mute";
const char* const kSoundMode = "soundMode";
const char* const kSpeaker = "speaker";
const char* const kSpeakerSelect = "speakerSelect";
const char* const kSpeakerList = "connectedExternalSpeakerList";
const char* const kMuteOn = "muteOn";
const char* const kMuteOff = "muteOff";

// The client key of each method answered by one value.
struct SoundKey {
    DYNF_TVCONTROL_PROP_TYPE type;
    const char* name;
};

const SoundKey kKeys[] = {
    {DIRECT_VOLUME_CONTROL, kVolume},
    {MUTE_CONTROL, kMute},
    {SOUND_MODE_CONTROL, kSoundMode},
    {SPEAKER_SELECT_CONTROL, kSpeakerSelect},
};

struct SpeakerWord {
    const char* client;
    const char* framework;
};

// In the order a client's word is tested.
const SpeakerWord kSpeakerWords[] = {
    {"Internal", "internal"},
    {"External", "external"},
    {"AudioOut/Optical", "optical"},
};

// An element's member as the text the rebuilt list copies: scalars in their JSON spelling,
// containers as JSON text.
std::string memberText(const JsonValue& element, const char* name) {
    const JsonValue& value = element[name];
    const JsonType type = value.type();
    return type == JsonType::objectValue || type == JsonType::arrayValue ? value.toString()
                                                                         : value.asString();
}

}  // namespace

dynf_property_list_h SoundControlHelper::getPropertyData(CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return nullptr;
    }
    switch (request->propType) {
        case DIRECT_VOLUME_CONTROL:
            return getPropertyDataInternalInt(request, kVolume, kVolume);
        case SOUND_MODE_CONTROL:
            return getPropertyDataInternalString(request, kSoundMode, kSoundMode);
        case MUTE_CONTROL:
            return createList(_getMutePropertyInternal(request));
        case SPEAKER_SELECT_CONTROL:
            return createList(_getSpeakerSelectPropertyInternal(request));
        case EXTERNAL_SPEAKER_CONTROL:
            return createList(_getExternalSpeakerPropertyInternal(request));
        default:
            return createList(nullptr);
    }
}

void SoundControlHelper::_readAnswer(dynf_property_list_h result, CmdRequest* request) {
    // A refused speaker list arrives without a list and is still answered ({}).
    if (result == nullptr && request->propType != EXTERNAL_SPEAKER_CONTROL) {
        LOGE("invalid pointer");
        return;
    }
    _handleDirectVolumeResult(result, request);
    _handleMuteResult(result, request);
    _handleSoundModeResult(result, request);
    _handleSpeakerSelectResult(result, request);
    _handleExternalSpeakerResult(result, request);
}

dynf_property_h SoundControlHelper::_getMutePropertyInternal(CmdRequest* request) {
    bool mute = false;
    if (cmdfields::hasValueParams(*request)) {
        LOGI("hasParams!");
        std::string word;
        if (!readStringParam(request, kMute, word)) {
            return nullptr;
        }
        // Deliberately lenient: every word other than "muteOn" unmutes.
        mute = word == kMuteOn;
    } else {
        LOGI("no Param");
    }
    return dynf_property_create_bool(kMute, mute);
}

dynf_property_h SoundControlHelper::_getSpeakerSelectPropertyInternal(CmdRequest* request) {
    std::string framework;
    if (cmdfields::hasValueParams(*request)) {
        LOGI("hasParams!");
        std::string word;
        if (!readStringParam(request, kSpeakerSelect, word)) {
            return nullptr;
        }
        for (const SpeakerWord& speaker : kSpeakerWords) {
            if (word == speaker.client) {
                framework = speaker.framework;
                break;
            }
        }
    } else {
        LOGI("no Param");
    }
    return dynf_property_create_string(kSpeaker, framework.c_str());
}

dynf_property_h SoundControlHelper::_getExternalSpeakerPropertyInternal(CmdRequest* request) {
    if (!cmdfields::hasValueParams(*request)) {
        LOGI("no Param");
        return dynf_property_create_json_string(kSpeakerList, "{}");
    }
    LOGI("hasParams!");
    std::string name;
    std::string id;
    if (!readStringParam(request, "deviceName", name) ||
        !readStringParam(request, "deviceId", id)) {
        return nullptr;
    }
    JsonValue choice(JsonType::objectValue);
    choice["id"] = id;
    choice["name"] = name;
    return dynf_property_create_json_string(kSpeakerList, choice.toString().c_str());
}

void SoundControlHelper::_handleDirectVolumeResult(dynf_property_list_h result,
                                                   CmdRequest* request) {
    int volume = -1;
    if (request->propType != DIRECT_VOLUME_CONTROL ||
        !findIntProperty(result, kVolume, volume, request)) {
        return;
    }
    LOGI("vol->(%d)", volume);
    cmdfields::resultObject(*request)[kVolume] = volume;
}

void SoundControlHelper::_handleMuteResult(dynf_property_list_h result, CmdRequest* request) {
    bool mute = false;
    if (request->propType != MUTE_CONTROL || !findBoolProperty(result, kMute, mute, request)) {
        return;
    }
    LOGI("mute->(%d)", mute);
    cmdfields::resultObject(*request)[kMute] = mute ? kMuteOn : kMuteOff;
}

void SoundControlHelper::_handleSoundModeResult(dynf_property_list_h result, CmdRequest* request) {
    std::string mode;
    if (request->propType != SOUND_MODE_CONTROL ||
        !findStringProperty(result, kSoundMode, mode, request)) {
        return;
    }
    LOGI("val->(%s)", mode.c_str());
    cmdfields::resultObject(*request)[kSoundMode] = mode;
}

void SoundControlHelper::_handleSpeakerSelectResult(dynf_property_list_h result,
                                                    CmdRequest* request) {
    std::string speaker;
    if (request->propType != SPEAKER_SELECT_CONTROL ||
        !findStringProperty(result, kSpeaker, speaker, request)) {
        return;
    }
    LOGI("speaker select->(%s)", speaker.c_str());
    JsonValue& answer = cmdfields::resultObject(*request);
    for (const SpeakerWord& word : kSpeakerWords) {
        if (speaker == word.framework) {
            answer[kSpeakerSelect] = word.client;
            return;
        }
    }
}

void SoundControlHelper::_handleExternalSpeakerResult(dynf_property_list_h result,
                                                      CmdRequest* request) {
    if (request->propType != EXTERNAL_SPEAKER_CONTROL) {
        return;
    }
    if (result == nullptr) {
        LOGE("received null pointer for list! -> generating empty json data...");
        request->result = JsonValue(JsonType::objectValue);
        return;
    }
    std::string text;
    if (!handleStringResult(result, kSpeakerList, text, request)) {
        LOGE("received null pointer for property! -> generating empty json data...");
        request->result = JsonValue(JsonType::objectValue);
        return;
    }
    LOGI("val->(%s)", text.c_str());
    const JsonValue speakers = JsonValue::Create(text);
    if (speakers.isNull()) {
        LOGE("parse got dirty data!");
        return;
    }
    // Rebuilt as text with the names and ids copied unescaped, deliberately. Anything
    // but an array counts as an empty list.
    const size_t count = speakers.type() == JsonType::arrayValue ? speakers.size() : 0;
    std::string built = "[";
    for (size_t i = 0; i < count; ++i) {
        const JsonValue& element = speakers[i];
        if (element.type() != JsonType::objectValue) {
            continue;
        }
        if (built.size() > 1) {
            built += ",";
        }
        built += "{ \"deviceName\" : \"" + memberText(element, "name") + "\", ";
        built += "\"deviceId\" : \"" + memberText(element, "id") + "\"}";
    }
    built = count > 0 ? built + "]" : "{}";
    LOGI("resultStr->(%s)", built.c_str());
    request->result = JsonValue::Create(built);
    if (request->result.isNull()) {
        LOGE("parse got dirty data!");
        return;
    }
    LOGI("parse success!");
}

std::string SoundControlHelper::_usageKey(const CmdRequest& request) const {
    for (const SoundKey& key : kKeys) {
        if (key.type == request.propType) {
            return key.name;
        }
    }
    return "";
}

void SoundControlHelper::_sendKPILog(CmdRequest* request) {
    if (request->propType != EXTERNAL_SPEAKER_CONTROL) {
        ControlHelperBase::_sendKPILog(request);
        return;
    }
    std::string value = request->result.toString();
    value.erase(std::remove(value.begin(), value.end(), '\n'), value.end());
    sendKPILog("", value, request);
}
