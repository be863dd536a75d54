// Product queries answered by the platform's feature configuration, system information,
// system settings and power interfaces.
#include "System/SystemApi.h"

#include <cstdlib>

#include "Log.h"
#include "device_power.h"
#include "system_info.h"
#include "system_settings.h"

namespace {

#define FEATURE_KEY(name) SYSTEM_INFO_VENDOR_PREFIX "featureconf/" name

bool readInt(const char* key, int& value) {
    return system_info_get_custom_int(key, &value) == SYSTEM_INFO_ERROR_NONE;
}

// A system-information string; false on a failed read or a null answer.
bool readInfoString(system_info_key_e key, std::string& out) {
    char* text = nullptr;
    if (system_info_get_value_string(key, &text) != SYSTEM_INFO_ERROR_NONE || text == nullptr) {
        free(text);
        return false;
    }
    out = text;
    free(text);
    return true;
}

const char* const kFeatureKeys[] = {
    FEATURE_KEY("tessera_support"),
    FEATURE_KEY("tessera_version"),
    FEATURE_KEY("easel_tv"),
    FEATURE_KEY("ambient_screen_support"),
};

// A feature flag's logs: the failure text, or "label:value".
bool readFeatureFlag(const SystemApi::FeatureRead& read, const char* failure, const char* label) {
    if (!read.ok) {
        LOGE("%s", failure);
        return false;
    }
    const bool value = read.value != 0;
    LOGI("%s:%d", label, value);
    return value;
}

// An identity string with its logs: the failure text, or "label:value".
bool readIdentity(system_info_key_e key, const char* failure, const char* label, std::string& out) {
    if (!readInfoString(key, out)) {
        LOGE("%s", failure);
        return false;
    }
    LOGI("%s:%s", label, out.c_str());
    return true;
}

const char* productTypeName(int type) {
    switch (type) {
        case 0:
            return "TV";
        case 1:
            return "MONITOR";
        case 2:
            return "BD";
        case 3:
            return "PROJECTOR";
        case 4:
            return "LFD";
        case 5:
            return "SMD";
        case 8:
            return "HTV";
        default:
            return "UNKNOWN";
    }
}

bool computeIsLfd(SystemApi& api) {
    std::string type;
    return api.getProductType(type) && type == "LFD";
}

}  // namespace

SystemApi& SystemApi::getInstance() {
    static SystemApi instance;
    return instance;
}

SystemApi::SystemApi() : m_isLfd(computeIsLfd(*this)) {}

void SystemApi::reloadFeatures() {
    std::lock_guard<std::mutex> lock(m_featuresMutex);
    m_features.fill(std::nullopt);
}

SystemApi::FeatureRead SystemApi::_feature(Feature feature, bool isBool) {
    std::lock_guard<std::mutex> lock(m_featuresMutex);
    if (m_features[feature]) {
        return *m_features[feature];
    }
    const char* key = kFeatureKeys[feature];
    FeatureRead read;
    int error = SYSTEM_INFO_ERROR_NONE;
    if (isBool) {
        bool value = false;
        error = system_info_get_custom_bool(key, &value);
        read.value = value ? 1 : 0;
    } else {
        error = system_info_get_custom_int(key, &read.value);
    }
    read.ok = error == SYSTEM_INFO_ERROR_NONE;
    // A platform that is not up yet may answer later; anything else is the product's answer.
    if (error != SYSTEM_INFO_ERROR_NOT_READY) {
        m_features[feature] = read;
    }
    return read;
}

bool SystemApi::isWall() {
    return readFeatureFlag(_feature(kWallSupport, true), "FMS tessera_support failed to read",
                           "wallSupport");
}

bool SystemApi::isMicroLED() {
    const FeatureRead version = _feature(kWallVersion, false);
    if (!version.ok) {
        // The same text as isWall: both read the wall feature.
        LOGE("FMS tessera_support failed to read");
        return false;
    }
    LOGI("wallVersion:%d", version.value);
    return version.value == 2;
}

bool SystemApi::isEaselTv() {
    return readFeatureFlag(_feature(kEaselTv, true), "FMS easel_tv failed to read", "easelTv");
}

bool SystemApi::isAmbientScreenSupport() {
    return readFeatureFlag(_feature(kAmbientScreenSupport, true),
                           "FMS ambient_screen_support failed to read", "ambientScreenSupport");
}

bool SystemApi::isAmbientMode() {
    int mode = device_power_get_ambient_mode();
    bool ambient = false;
    if (mode >= 1 && mode <= 3) {
        ambient = true;
    } else if (mode != 0) {
        LOGE("Unknown ambient mode:%d", mode);
    }
    LOGI("mode:%d  bAmbient:%d", mode, ambient);
    return ambient;
}

bool SystemApi::getPanelResolution(int& width, int& height) {
    if (!readInt(FEATURE_KEY("product.osd_resolution_width"), width)) {
        LOGE("FMS product.osd_resolution_width failed to read");
        return false;
    }
    if (!readInt(FEATURE_KEY("product.osd_resolution_height"), height)) {
        LOGE("FMS product.osd_resolution_height failed to read");
        return false;
    }
    LOGI("PANEL_RESOLUTION : WIDTH:%d HEIGHT:%d", width, height);
    return true;
}

bool SystemApi::getSwVersion(std::string& out) {
    return readIdentity(SYSTEM_INFO_KEY_SW_VERSION, "SYSTEM_INFO_KEY_SW_VERSION failed to read",
                        "swVersion", out);
}

bool SystemApi::getSerialNumber(std::string& out) {
    return readIdentity(SYSTEM_INFO_KEY_SERIAL_NUMBER, "KEY_SERIAL_NUMBER failed to read",
                        "SerialNumber", out);
}

bool SystemApi::getProductCode(std::string& out) {
    return readIdentity(SYSTEM_INFO_KEY_PRODUCT_CODE_SW, "KEY_PRODUCT_CODE_SW failed to read",
                        "ProductCode", out);
}

bool SystemApi::getProductType(std::string& out) {
    int type = -1;
    if (!readInt(FEATURE_KEY("product.product_type"), type)) {
        LOGE("FMS product.product_type failed to read");
        return false;
    }
    out = productTypeName(type);
    return true;
}

bool SystemApi::getDeviceName(std::string& out) {
    char* name = nullptr;
    if (system_settings_get_value_string(SYSTEM_SETTINGS_KEY_DEVICE_NAME, &name) !=
            SYSTEM_SETTINGS_ERROR_NONE ||
        name == nullptr) {
        free(name);
        LOGE("Getting device name failed");
        return false;
    }
    out = name;
    free(name);
    return true;
}
