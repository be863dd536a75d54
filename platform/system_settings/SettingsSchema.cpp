// The settings table and the first-start values.
#include "SettingsSchema.h"

#include <glib.h>

namespace ipc_platform {

namespace {

constexpr char kFallbackDeviceName[] = "[TV] Living Room";
constexpr char kDefaultLocale[] = "en_US.UTF-8";
// UPnP control points show friendly names of up to 64 characters.
constexpr size_t kMaxDeviceNameLength = 64;
// Locale names are short ("en_US.UTF-8", "sr_RS.UTF-8@latin").
constexpr size_t kMaxLocaleLength = 32;

}  // namespace

const std::vector<SettingDefinition>& settingDefinitions() {
    static const std::vector<SettingDefinition> definitions = {
        {SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, "ipRemoteSupport",
         "1 allows control of the TV over IP, any other number forbids it", true, 0},
        {SYSTEM_SETTINGS_KEY_DEVICE_NAME, "deviceName", "the TV's name shown to clients", false,
         kMaxDeviceNameLength},
        {SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE, "language",
         "the on-screen language, e.g. en_US.UTF-8", false, kMaxLocaleLength},
        {SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY, "country", "the country, e.g. en_US.UTF-8", false,
         kMaxLocaleLength},
    };
    return definitions;
}

const SettingDefinition* findSetting(system_settings_key_e key) {
    for (const SettingDefinition& definition : settingDefinitions()) {
        if (definition.key == key) {
            return &definition;
        }
    }
    return nullptr;
}

const SettingDefinition* findSetting(const std::string& name) {
    for (const SettingDefinition& definition : settingDefinitions()) {
        if (name == definition.name) {
            return &definition;
        }
    }
    return nullptr;
}

std::string stringRefusal(const SettingDefinition& setting, const std::string& value) {
    const std::string name = setting.name;
    if (!g_utf8_validate(value.data(), static_cast<gssize>(value.size()), nullptr)) {
        return name + " is not valid UTF-8";
    }
    for (const char c : value) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
            return name + " must not contain control characters (U+0000-U+001F, U+007F)";
        }
    }
    if (g_utf8_strlen(value.data(), static_cast<gssize>(value.size())) >
        static_cast<glong>(setting.maxLength)) {
        return name + " takes at most " + std::to_string(setting.maxLength) + " characters";
    }
    return "";
}

SettingsValues firstStartSettings(const std::string& profileDeviceName) {
    return {
        {SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, 1},
        {SYSTEM_SETTINGS_KEY_DEVICE_NAME,
         profileDeviceName.empty() ? std::string(kFallbackDeviceName) : profileDeviceName},
        {SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE, std::string(kDefaultLocale)},
        {SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY, std::string(kDefaultLocale)},
    };
}

}  // namespace ipc_platform
