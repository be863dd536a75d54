// Device control: the TV state properties read together and their client words.
#include "System/DeviceControlHelper.h"

#include <iterator>
#include <string>
#include <vector>

#include "JsonValue.h"
#include "Log.h"
#include "Manager/CmdRequest.h"
#include "System/AmbientMode.h"
#include "System/AppControlHelper.h"
#include "System/CmdRequestFields.h"
#include "System/SourceControlHelper.h"
#include "System/SystemApi.h"

using common::json::JsonType;
using common::json::JsonValue;

namespace {

const char* const kPower = "powerValue";
const char* const kVolume = "volume";
const char* const kMute = "mute";
const char* const kInputSource = "inputSource";
const char* const kExtendedSource = "extendedSource";
const char* const kChannelMajor = "channelMajor";
const char* const kChannelMinor = "channelMinor";
const char* const kPictureMode = "pictureMode";
const char* const kSoundMode = "soundMode";
const char* const kLaunchApp = "launchApp";
const char* const kArtMode = "artMode";

// The power words of "powerControl": the framework's, then the client's.
const char* const kPowerWords[][2] = {{"on", "powerOn"}, {"off", "powerOff"}, {"reboot", "reboot"}};

// One state property and the kind of its placeholder.
struct State {
    const char* name;
    dynf_property_type_e kind;
};

// What every product reads, in the order it asks.
const State kStates[] = {
    {kPower, DYNF_PROPERTY_STRING},
    {kVolume, DYNF_PROPERTY_INT},
    {kMute, DYNF_PROPERTY_BOOL},
    {kInputSource, DYNF_PROPERTY_STRING},
    {kExtendedSource, DYNF_PROPERTY_STRING},
    {kChannelMajor, DYNF_PROPERTY_INT},
    {kChannelMinor, DYNF_PROPERTY_INT},
    {kPictureMode, DYNF_PROPERTY_STRING},
    {kSoundMode, DYNF_PROPERTY_STRING},
    {kLaunchApp, DYNF_PROPERTY_JSON_STRING},
};

// The read placeholder of state: "", 0, false or "{}".
dynf_property_h placeholder(const State& state) {
    switch (state.kind) {
        case DYNF_PROPERTY_INT:
            return dynf_property_create_int(state.name, 0);
        case DYNF_PROPERTY_BOOL:
            return dynf_property_create_bool(state.name, false);
        case DYNF_PROPERTY_JSON_STRING:
            return dynf_property_create_json_string(state.name, "{}");
        default:
            return dynf_property_create_string(state.name, "");
    }
}

}  // namespace

dynf_property_list_h DeviceControlHelper::getPropertyData(CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return nullptr;
    }
    if (request->propType != GET_TV_STATES || refuseWrite(request)) {
        return nullptr;
    }
    std::vector<State> states(std::begin(kStates), std::end(kStates));
    SystemApi& system = SystemApi::getInstance();
    if (system.isEaselTv()) {
        states.push_back({kArtMode, DYNF_PROPERTY_STRING});
    }
    dynf_property_list_h list = dynf_property_list_create();
    for (const State& state : states) {
        if (!pushProperty(list, placeholder(state))) {
            dynf_property_list_destroy(list);
            return nullptr;
        }
    }
    return list;
}

void DeviceControlHelper::_readAnswer(dynf_property_list_h result, CmdRequest* request) {
    cmdfields::resultObject(*request);
    _handlePower(result, request);
    _handleSound(result, request);
    _handleSource(result, request);
    _handleChannel(result, request);
    _handleModes(result, request);
    _handleApplication(result, request);
    _handleArtAndAmbient(result, request);
}

void DeviceControlHelper::_handlePower(dynf_property_list_h result, CmdRequest* request) {
    std::string power;
    if (!findStringProperty(result, kPower, power, request)) {
        return;
    }
    for (const auto& word : kPowerWords) {
        if (power == word[0]) {
            cmdfields::resultObject(*request)["power"] = word[1];
            return;
        }
    }
    LOGE("power value is strange! -> [%s]", power.c_str());
    handleError(DYNF_ERROR_UNKNOWN, request);
}

void DeviceControlHelper::_handleSound(dynf_property_list_h result, CmdRequest* request) {
    int volume = 0;
    if (findIntProperty(result, kVolume, volume, request)) {
        cmdfields::resultObject(*request)["volume"] = volume;
    }
    bool mute = false;
    if (findBoolProperty(result, kMute, mute, request)) {
        cmdfields::resultObject(*request)["mute"] = mute ? "muteOn" : "muteOff";
    }
}

void DeviceControlHelper::_handleSource(dynf_property_list_h result, CmdRequest* request) {
    std::string input;
    std::string extended;
    if (!findStringProperty(result, kInputSource, input, request) ||
        !findStringProperty(result, kExtendedSource, extended, request)) {
        return;
    }
    // As "inputSourceControl" answers: the extended source wins, digital TV is "TV".
    cmdfields::resultObject(*request)["inputSource"] =
        !extended.empty() ? extended : SourceControlHelper::toClientSource(input);
}

void DeviceControlHelper::_handleChannel(dynf_property_list_h result, CmdRequest* request) {
    int major = 0;
    int minor = 0;
    if (findIntProperty(result, kChannelMajor, major, request) &&
        findIntProperty(result, kChannelMinor, minor, request)) {
        JsonValue& channel = cmdfields::resultObject(*request)["channel"];
        channel["major"] = major;
        channel["minor"] = minor;
    }
}

void DeviceControlHelper::_handleModes(dynf_property_list_h result, CmdRequest* request) {
    for (const char* name : {kPictureMode, kSoundMode}) {
        std::string mode;
        if (findStringProperty(result, name, mode, request)) {
            cmdfields::resultObject(*request)[name] = mode;
        }
    }
}

void DeviceControlHelper::_handleApplication(dynf_property_list_h result, CmdRequest* request) {
    JsonValue launched;
    if (readJsonResult(result, kLaunchApp, JsonType::objectValue, launched, request)) {
        cmdfields::resultObject(*request)["applicationName"] =
            AppControlHelper::foregroundAppName(launched);
    }
}

void DeviceControlHelper::_handleArtAndAmbient(dynf_property_list_h result, CmdRequest* request) {
    SystemApi& system = SystemApi::getInstance();
    const bool easel = system.isEaselTv();
    std::string art;
    if (easel && findStringProperty(result, kArtMode, art, request)) {
        cmdfields::resultObject(*request)[kArtMode] = art;
    }
    // Reported wherever the ambient screen refuses writes, with the same judgement.
    const bool ambientScreen = system.isAmbientScreenSupport();
    if (ambientScreen || easel) {
        cmdfields::resultObject(*request)["ambientMode"] =
            ambientmode::refusesWrites(ambientScreen, easel);
    }
}
