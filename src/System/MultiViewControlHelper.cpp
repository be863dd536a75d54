// Multi-view control: the multi-view JSON property and its client words.
#include "System/MultiViewControlHelper.h"

#include <string>

#include "JsonValue.h"
#include "Log.h"
#include "Manager/CmdRequest.h"
#include "System/CmdRequestFields.h"
#include "System/SourceControlHelper.h"

using common::json::JsonType;
using common::json::JsonValue;

namespace {

const char* const kMultiView = "multiView";
const char* const kLayout = "layout";
const char* const kSources = "sources";
const char* const kOn = "on";
const char* const kOff = "off";

// The sources with each word turned into the other side's word for the same input.
JsonValue translateSources(const JsonValue& sources, std::string (*translate)(const std::string&)) {
    JsonValue translated(JsonType::arrayValue);
    for (size_t i = 0; i < sources.size(); ++i) {
        const JsonValue& source = sources[i];
        translated.append(source.isString() ? JsonValue(translate(source.asString())) : source);
    }
    return translated;
}

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

dynf_property_list_h MultiViewControlHelper::getPropertyData(CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return nullptr;
    }
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

void MultiViewControlHelper::_readAnswer(dynf_property_list_h result, CmdRequest* request) {
    JsonValue read;
    if (!readJsonResult(result, kMultiView, JsonType::objectValue, read, request)) {
        return;
    }
    const JsonValue& state = read;  // looked at, never added to
    if (!state[kOn].isBool()) {
        LOGE("multi-view state without \"on\": %s", state.toString().c_str());
        handleError(DYNF_ERROR_UNKNOWN, request);
        return;
    }
    JsonValue& answer = cmdfields::resultObject(*request);
    answer[kMultiView] = state[kOn].asBool() ? kOn : kOff;
    if (state.isMember(kLayout)) {
        answer[kLayout] = state[kLayout];
    }
    if (state[kSources].type() == JsonType::arrayValue) {
        answer[kSources] = translateSources(state[kSources], SourceControlHelper::toClientSource);
    }
}

std::string MultiViewControlHelper::_usageKey(const CmdRequest& request) const {
    return cmdfields::hasValueParams(request) ? kMultiView : "";
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
    if (params.isMember(kLayout)) {
        choice[kLayout] = params[kLayout];
    }
    if (params.isMember(kSources)) {
        choice[kSources] =
            translateSources(params[kSources], SourceControlHelper::toFrameworkSource);
    }
    return true;
}
