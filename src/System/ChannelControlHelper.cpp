// Channel control: the channel number pair and its client keys.
#include "System/ChannelControlHelper.h"

#include <string>

#include "JsonValue.h"
#include "Log.h"
#include "Manager/CmdRequest.h"
#include "System/CmdRequestFields.h"

using common::json::JsonValue;

namespace {

const char* const kMajorKey = "major";
const char* const kMinorKey = "minor";
const char* const kMajor = "channelMajor";
const char* const kMinor = "channelMinor";

}  // namespace

dynf_property_list_h ChannelControlHelper::getPropertyData(CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return nullptr;
    }
    if (request->propType != DIRECT_CHANNEL_CONTROL) {
        LOGE("no property for type(%d)", request->propType);
        return nullptr;
    }
    int major = 0;
    int minor = 0;
    if (cmdfields::hasValueParams(*request)) {
        if (!readIntParam(request, kMajorKey, major)) {
            return nullptr;
        }
        if (request->params.isMember(kMinorKey) && !readIntParam(request, kMinorKey, minor)) {
            return nullptr;
        }
        LOGI("channel->(%d-%d)", major, minor);
    }
    dynf_property_list_h list = createList(dynf_property_create_int(kMajor, major));
    if (list != nullptr && !pushProperty(list, dynf_property_create_int(kMinor, minor))) {
        dynf_property_list_destroy(list);
        return nullptr;
    }
    return list;
}

void ChannelControlHelper::_readAnswer(dynf_property_list_h result, CmdRequest* request) {
    int major = 0;
    int minor = 0;
    if (findIntProperty(result, kMajor, major, request) &&
        findIntProperty(result, kMinor, minor, request)) {
        JsonValue& answer = cmdfields::resultObject(*request);
        answer[kMajorKey] = major;
        answer[kMinorKey] = minor;
    }
}

std::string ChannelControlHelper::_usageKey(const CmdRequest& request) const {
    return cmdfields::hasValueParams(request) ? kMajorKey : "";
}
