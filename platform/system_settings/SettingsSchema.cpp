// The settings table and the first-start values.
#include "SettingsSchema.h"

namespace ipc_platform {

namespace {

constexpr char kFallbackDeviceName[] = "[TV] Living Room";
constexpr char kDefaultLocale[] = "en_US.UTF-8";

}  // namespace

const std::vector<SettingDefinition>& settingDefinitions() {
    static const std::vector<SettingDefinition> definitions = {
        {SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, "ipRemoteSupport",
         "1 allows control of the TV over IP, any other number forbids it", true},
        {SYSTEM_SETTINGS_KEY_DEVICE_NAME, "deviceName", "the TV's name shown to clients", false},
        {SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE, "language",
         "the on-screen language, e.g. en_US.UTF-8", false},
        {SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY, "country", "the country, e.g. en_US.UTF-8", false},
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
