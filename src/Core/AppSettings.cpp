// The flag document in the key-value store: load, save, flags, and the reload on a change.
#include "Core/AppSettings.h"

#include <cstdlib>

#include "Log.h"
#include "vconf.h"

using common::json::JsonValue;

namespace {
const char* const kConfigFlagsKey = "db/private/ipcontrol/config_flags";
const char* const kTestWallMode = "test_wall_mode";
}  // namespace

AppSettings& AppSettings::getInstance() {
    static AppSettings instance;
    return instance;
}

AppSettings::AppSettings() {
    load();
}

void AppSettings::load() {
    std::lock_guard<std::mutex> lock(m_mutex);
    _loadLocked();
}

bool AppSettings::save() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return _saveLocked();
}

bool AppSettings::clear() {
    std::lock_guard<std::mutex> lock(m_mutex);
    JsonValue::operator=(JsonValue::Create(""));
    return _saveLocked();
}

std::string AppSettings::getJsonStr() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return toString(false);
}

bool AppSettings::setValue(const std::string& name, bool value) {
    LOGI("name:%s value:%d", name.c_str(), value);
    std::lock_guard<std::mutex> lock(m_mutex);
    (*this)[name] = value;
    return _saveLocked();
}

bool AppSettings::setValue(const std::string& name, const std::string& value) {
    LOGI("name:%s value:%s", name.c_str(), value.c_str());
    std::lock_guard<std::mutex> lock(m_mutex);
    (*this)[name] = value;
    return _saveLocked();
}

bool AppSettings::getValue(const std::string& name, bool& out) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    // Read in place: get() would copy the member first.
    out = static_cast<const JsonValue&>(*this)[name].asBool();
    return true;
}

bool AppSettings::getValue(const std::string& name, std::string& out) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    out = static_cast<const JsonValue&>(*this)[name].asString();
    return true;
}

bool AppSettings::setTestWallMode(bool flag) {
    return setValue(kTestWallMode, flag);
}

bool AppSettings::isTestWallMode() const {
    bool flag = false;
    getValue(kTestWallMode, flag);
    return flag;
}

void AppSettings::watchChanges() {
    if (vconf_notify_key_changed(kConfigFlagsKey, _onConfigFlagsChanged, this) != 0) {
        LOGE("Failed to watch vconf key - [%s]", kConfigFlagsKey);
    }
    // The store may have changed, or come up, since the document was last read.
    load();
}

void AppSettings::unwatchChanges() {
    vconf_ignore_key_changed(kConfigFlagsKey, _onConfigFlagsChanged);
}

bool AppSettings::setPrivateConfigFlags(const std::string& text) {
    LOGI("vconf_set_str([%s],[%s])", kConfigFlagsKey, text.c_str());
    if (vconf_set_str(kConfigFlagsKey, text.c_str()) != 0) {
        LOGE("Failed to set vconf value - [%s]=[%s]", kConfigFlagsKey, text.c_str());
        return false;
    }
    return true;
}

bool AppSettings::getPrivateConfigFlags(std::string& out) const {
    char* text = vconf_get_str(kConfigFlagsKey);
    if (text == nullptr) {
        LOGE("Failed to get vconf value - [%s]", kConfigFlagsKey);
        return false;
    }
    LOGI("vconf_get_str([%s]) [%s]", kConfigFlagsKey, text);
    out = text;
    free(text);
    return true;
}

void AppSettings::_loadLocked() {
    std::string text;
    getPrivateConfigFlags(text);
    JsonValue::operator=(JsonValue::Create(text));
    if (isNull()) {
        LOGE("Parse failed, configFlags:%s", text.c_str());
    } else {
        LOGI("Parse successed, configFlags:%s", text.c_str());
    }
}

bool AppSettings::_saveLocked() {
    return setPrivateConfigFlags(toString(false));
}

void AppSettings::_onConfigFlagsChanged(const char* /*key*/, void* userData) {
    static_cast<AppSettings*>(userData)->load();
}
