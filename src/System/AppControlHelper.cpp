// Application control: app names and targets, the launch, art mode and the first-screen app.
#include "System/AppControlHelper.h"

#include <cstdlib>

#include "Common/KPILogger.h"
#include "Log.h"
#include "Manager/CmdRequest.h"
#include "System/CmdRequestFields.h"
#include "was.h"

using common::json::JsonType;
using common::json::JsonValue;

namespace {

const char* const kAppNameParam = "applicationName";
const char* const kArtModeParam = "artMode";
const char* const kUrlParam = "url";
const char* const kWebBrowserKey = "webBrowser";
const char* const kRunTitle = "RunTitle";

// App key and its launch target: a store app id, or "RunTitle_<title>" resolved per launch.
const std::pair<const char*, const char*> kAppTargets[] = {
    {"youTube", "111299001912"},
    {"netflix", "RunTitle_Netflix"},
    {"hulu", "3201601007625"},
    {"amazon", "RunTitle_AmazonInstantVideo"},
    {"pandora", "3201812017399"},
    {"vudu", "111012010001"},
    {kWebBrowserKey, "org.orvane.browser"},
};

// The names clients use; two of them mean the same app.
const std::pair<const char*, const char*> kAppKeys[] = {
    {"Netflix", "netflix"},    {"YouTube", "youTube"},
    {"Hulu", "hulu"},          {"Amazon Prime Video", "amazon"},
    {"Prime Video", "amazon"}, {"Pandora", "pandora"},
    {"VUDU", "vudu"},          {"Internet", kWebBrowserKey},
};

// The read whose answer cannot be used fails rather than answering nothing.
void failRead(CmdRequest* request) {
    cmdfields::setError(*request, SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_FAILED);
}

}  // namespace

AppControlHelper::AppControlHelper()
    : m_launchAppName("launchApp"),
      m_artModeName("artMode"),
      m_firstScreenAppListName("firstScreenAppList"),
      m_firstScreenAppIdName("firstScreenAppId"),
      m_appTargets(std::begin(kAppTargets), std::end(kAppTargets)),
      m_appKeys(std::begin(kAppKeys), std::end(kAppKeys)) {}

dynf_property_list_h AppControlHelper::getPropertyData(CmdRequest* request) {
    if (request == nullptr) {
        LOGE("invalid pointer");
        return nullptr;
    }
    switch (request->propType) {
        case DIRECT_ACCESS_CONTROL:
            return _getDirectAccessProperty(request);
        case ART_MODE_CONTROL:
            return _getArtModeProperty(request);
        case FIRST_SCREEN_APP_CONTROL:
            return _getFirstScreenAppProperty(request);
        default:
            LOGE("not supported type(%d)", request->propType);
            return nullptr;
    }
}

void AppControlHelper::handleResult(const dynf_error& error, dynf_property_list_h result,
                                    CmdRequest* request) {
    LOGI("handleResult");
    if (request == nullptr) {
        LOGE("invalid pointer");
        return;
    }
    if (!preHandleResult(error, request)) {
        if (!request->bJsonRpcError) {
            _sendKPILog(request);
        }
        return;
    }
    switch (request->propType) {
        case DIRECT_ACCESS_CONTROL:
            _handleDirectAccessResult(result, request);
            break;
        case ART_MODE_CONTROL:
            _handleArtModeResult(result, request);
            break;
        case FIRST_SCREEN_APP_CONTROL:
            _handleFirstScreenAppResult(result, request);
            break;
        default:
            LOGE("not supported type(%d)", request->propType);
            failRead(request);
            break;
    }
}

dynf_property_list_h AppControlHelper::_getDirectAccessProperty(CmdRequest* request) {
    if (!cmdfields::hasValueParams(*request)) {
        // A read asks which app is in the foreground.
        return _createJsonList(m_launchAppName, JsonValue(JsonType::objectValue));
    }
    std::string key;
    std::string appId;
    if (!_resolveApp(request, true, key, appId)) {
        return nullptr;
    }
    JsonValue launch(JsonType::objectValue);
    launch["targetAppId"] = appId;
    launch["targetAppName"] = key;
    if (key == kWebBrowserKey) {
        std::string url;
        if (!readStringParam(request, kUrlParam, url)) {
            return nullptr;
        }
        if (!url.empty()) {
            launch["targetAppParam"] = url;
        }
    }
    return _createJsonList(m_launchAppName, launch);
}

dynf_property_list_h AppControlHelper::_getArtModeProperty(CmdRequest* request) {
    return getPropertyDataInternalString(request, kArtModeParam, m_artModeName);
}

dynf_property_list_h AppControlHelper::_getFirstScreenAppProperty(CmdRequest* request) {
    if (!cmdfields::hasValueParams(*request)) {
        return _createJsonList(m_firstScreenAppListName, JsonValue(JsonType::arrayValue));
    }
    std::string key;
    std::string appId;
    if (!_resolveApp(request, false, key, appId)) {
        return nullptr;
    }
    JsonValue selection(JsonType::objectValue);
    selection["id"] = appId;
    return _createJsonList(m_firstScreenAppIdName, selection);
}

void AppControlHelper::_handleDirectAccessResult(dynf_property_list_h result, CmdRequest* request) {
    JsonValue launched;
    if (!_readResultJson(result, m_launchAppName, JsonType::objectValue, launched, request)) {
        return;
    }
    LOGI("launchApp handling success!");
    const JsonValue& title = launched["title"];
    cmdfields::resultObject(*request)[kAppNameParam] =
        title.isString() ? title.asString() : std::string("unknown");
}

void AppControlHelper::_handleArtModeResult(dynf_property_list_h result, CmdRequest* request) {
    std::string value;
    if (findStringProperty(result, m_artModeName, value, request)) {
        cmdfields::resultObject(*request)[kArtModeParam] = value;
    }
}

void AppControlHelper::_handleFirstScreenAppResult(dynf_property_list_h result,
                                                   CmdRequest* request) {
    JsonValue apps;
    if (!_readResultJson(result, m_firstScreenAppListName, JsonType::arrayValue, apps, request)) {
        return;
    }
    JsonValue list(JsonType::arrayValue);
    for (size_t i = 0; i < apps.size(); ++i) {
        const JsonValue& app = apps[i];
        if (app.type() != JsonType::objectValue || !app["name"].isString() ||
            !app["id"].isString()) {
            LOGE("parse got dirty data!");
            failRead(request);
            return;
        }
        JsonValue entry(JsonType::objectValue);
        entry["name"] = app["name"];
        entry["id"] = app["id"];
        list.append(entry);
    }
    cmdfields::resultObject(*request)[m_firstScreenAppListName] = list;
}

void AppControlHelper::_sendKPILog(CmdRequest* request) {
    const std::string name = cmdfields::resultString(*request, kAppNameParam);
    switch (request->propType) {
        case DIRECT_ACCESS_CONTROL: {
            KPILoggerData data;
            data.kind = KPILoggerData::APPLICATION;
            data.isSet = !name.empty();
            data.appName = name;
            KPILogger::getInstance().sendLog("APPLICATION", "EV003", data);
            break;
        }
        case ART_MODE_CONTROL:
            sendKPILog(kArtModeParam, cmdfields::resultString(*request, kArtModeParam), request);
            break;
        case FIRST_SCREEN_APP_CONTROL:
            sendKPILog(kAppNameParam, name, request);
            break;
        default:
            break;
    }
}

bool AppControlHelper::_getAppName(CmdRequest* request, std::string& name) {
    return readStringParam(request, kAppNameParam, name);
}

bool AppControlHelper::_resolveApp(CmdRequest* request, bool isLaunch, std::string& key,
                                   std::string& appId) {
    std::string name;
    if (!_getAppName(request, name)) {
        return false;
    }
    if (name.empty()) {
        LOGE("No App Name!!");
        handleError(DYNF_ERROR_INVALID_VALUE, request);
        return false;
    }
    std::string target;
    if (!_findApp(name, key, target)) {
        if (isLaunch) {
            LOGE("Info mismatching!");
        } else {
            LOGE("targetAppName[%s] is not exist. break.", name.c_str());
        }
        handleError(DYNF_ERROR_INVALID_VALUE, request);
        return false;
    }
    LOGI("AppName -> (%s)", key.c_str());
    LOGI("App ID -> (%s)", target.c_str());
    return _getAppId(request, target, appId);
}

bool AppControlHelper::_findApp(const std::string& name, std::string& key,
                                std::string& target) const {
    const auto foundKey = m_appKeys.find(name);
    if (foundKey == m_appKeys.end()) {
        return false;
    }
    const auto foundTarget = m_appTargets.find(foundKey->second);
    if (foundTarget == m_appTargets.end()) {
        return false;
    }
    key = foundKey->second;
    target = foundTarget->second;
    return true;
}

bool AppControlHelper::_getAppId(CmdRequest* request, const std::string& target,
                                 std::string& appId) {
    if (target.find(kRunTitle) == std::string::npos) {
        appId = target;
        return true;
    }
    const size_t separator = target.find('_');
    const std::string runTitle =
        separator != std::string::npos ? target.substr(separator + 1) : std::string();
    char* resolved = nullptr;
    if (was_get_appid_by_runtitle(runTitle.c_str(), &resolved) != 0 || resolved == nullptr) {
        std::free(resolved);
        LOGE("failed to get appId by runtitle!");
        // The TV has no app of that title, so there is nothing to launch or choose.
        handleError(DYNF_ERROR_NOT_SUPPORTED, request);
        return false;
    }
    appId = resolved;
    std::free(resolved);
    LOGI("updated app id -> (%s)", appId.c_str());
    return true;
}

bool AppControlHelper::_readResultJson(dynf_property_list_h result, const std::string& name,
                                       JsonType kind, JsonValue& value, CmdRequest* request) {
    std::string text;
    if (!findStringProperty(result, name, text, request)) {
        return false;
    }
    LOGI("val->(%s)", text.c_str());
    value = JsonValue::Create(text);
    if (value.type() != kind) {
        LOGE("parse got dirty data!");
        failRead(request);
        return false;
    }
    return true;
}

dynf_property_list_h AppControlHelper::_createJsonList(const std::string& name,
                                                       const JsonValue& value) {
    const std::string text = value.toString();
    LOGI("generated data -> (%s)", text.c_str());
    return createList(dynf_property_create_json_string(name.c_str(), text.c_str()));
}
