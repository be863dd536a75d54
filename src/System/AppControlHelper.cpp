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

void AppControlHelper::_readAnswer(dynf_property_list_h result, CmdRequest* request) {
    switch (request->propType) {
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
    // Launching is all this method does, so a read (no name) fails like a write without one.
    std::string name;
    if (!_getRequiredAppName(request, name)) {
        return nullptr;
    }
    std::string key;
    std::string target;
    if (!_findApp(name, key, target)) {
        LOGE("Info mismatching!");
        handleError(DYNF_ERROR_INVALID_VALUE, request);
        return nullptr;
    }
    const std::string appId = _getAppId(key, target);
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
    std::string name;
    if (!_getRequiredAppName(request, name)) {
        return nullptr;
    }
    // An unknown name sends the empty selection, which leaves the TV without a first-screen app.
    JsonValue selection(JsonType::objectValue);
    std::string key;
    std::string target;
    if (_findApp(name, key, target)) {
        selection["id"] = _getAppId(key, target);
    } else {
        LOGE("targetAppName[%s] is not exist. break.", name.c_str());
    }
    return _createJsonList(m_firstScreenAppIdName, selection);
}

std::string AppControlHelper::foregroundAppName(const JsonValue& launchApp) {
    const JsonValue& title = launchApp.type() == JsonType::objectValue
                                 ? launchApp["title"]
                                 : JsonValue::Null::null_instance();
    return title.isString() ? title.asString() : std::string("unknown");
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
    if (!cmdfields::hasValueParams(*request)) {
        return;
    }
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

bool AppControlHelper::_getRequiredAppName(CmdRequest* request, std::string& name) {
    if (!readStringParam(request, kAppNameParam, name)) {
        return false;
    }
    if (name.empty()) {
        LOGE("No App Name!!");
        handleError(DYNF_ERROR_INVALID_VALUE, request);
        return false;
    }
    return true;
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

std::string AppControlHelper::_getAppId(const std::string& key, const std::string& target) {
    LOGI("AppName -> (%s)", key.c_str());
    LOGI("App ID -> (%s)", target.c_str());
    if (target.find(kRunTitle) == std::string::npos) {
        return target;
    }
    const size_t separator = target.find('_');
    const std::string runTitle =
        separator != std::string::npos ? target.substr(separator + 1) : std::string();
    char* resolved = nullptr;
    if (was_get_appid_by_runtitle(runTitle.c_str(), &resolved) != 0 || resolved == nullptr) {
        std::free(resolved);
        // The unresolved target goes out as it is; the TV refuses an app it does not have.
        LOGE("failed to get appId by runtitle!");
        return target;
    }
    std::string appId = resolved;
    std::free(resolved);
    LOGI("updated app id -> (%s)", appId.c_str());
    return appId;
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
