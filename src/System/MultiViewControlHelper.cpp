// Multi-view control: the multi-view JSON property and its client words.
#include "System/MultiViewControlHelper.h"

#include <string>

#include "JsonValue.h"
#include "Log.h"
#include "Manager/CmdRequest.h"
#include "System/CmdRequestFields.h"

using common::json::JsonType;
using common::json::JsonValue;

namespace {

const char* const kMultiView = "multiView";
const char* const kLayout = "layout";
const char* const kSources = "sources";
const char* const kOn = "on";
const char* const kOff = "off";

// True for an array that holds texts only.
bool isTextArray(const JsonValue& value) {
    if (value.type() != JsonType::arrayValue) {
        return false;
    }
    for (size_t i = 0; i < value.size(); ++i) {
        if (value[i].type() != JsonType::stringValue) {
            return false;
        }
    }
    return true;
}

}  // namespace

dynf_property_list_h MultiViewControlHelper::_getCompositePropertyData(CmdRequest* request) {
    if (request->propType != MULTIVIEW_CONTROL) {
        LOGE("no property for type(%d)", request->propType);
        return nullptr;
    }
    JsonValue choice(JsonType::objectValue);
    if (cmdfields::hasValueParams(*request) && !_buildChoice(request, choice)) {
        return nullptr;
    }
    return createJsonList(kMultiView, choice);
}

void MultiViewControlHelper::_handleCompositeResult(dynf_property_list_h result,
                                                    CmdRequest* request) {
    JsonValue state;
    if (!readJsonResult(result, kMultiView, JsonType::objectValue, state, request)) {
        return;
    }
    if (!state[kOn].isBool()) {
        LOGE("multi-view state without \"on\": %s", state.toString().c_str());
        handleError(DYNF_ERROR_UNKNOWN, request);
        return;
    }
    JsonValue& answer = cmdfields::resultObject(*request);
    answer[kMultiView] = state[kOn].asBool() ? kOn : kOff;
    for (const char* member : {kLayout, kSources}) {
        if (state.isMember(member)) {
            answer[member] = state[member];
        }
    }
}

std::string MultiViewControlHelper::_usageKey(const CmdRequest& /*request*/) const {
    return kMultiView;
}

bool MultiViewControlHelper::_buildChoice(CmdRequest* request, JsonValue& choice) {
    std::string onOff;
    if (!requireParam(request, kMultiView) || !readStringParam(request, kMultiView, onOff)) {
        return false;
    }
    const JsonValue& params = request->params;
    const bool badLayout = params.isMember(kLayout) && !params[kLayout].isString();
    const bool badSources = params.isMember(kSources) && !isTextArray(params[kSources]);
    if ((onOff != kOn && onOff != kOff) || badLayout || badSources) {
        LOGE("unusable multi-view params: %s", params.toString().c_str());
        handleError(DYNF_ERROR_INVALID_VALUE, request);
        return false;
    }
    choice[kOn] = onOff == kOn;
    for (const char* member : {kLayout, kSources}) {
        if (params.isMember(member)) {
            choice[member] = params[member];
        }
    }
    return true;
}
