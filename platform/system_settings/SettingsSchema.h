// The settings the platform keeps: their keys, names in the settings file, types and first-start
// values. Thread-safe (constant tables).
#pragma once

#include <map>
#include <string>
#include <variant>
#include <vector>

#include "system_settings.h"

namespace ipc_platform {

using SettingValue = std::variant<int, std::string>;
using SettingsValues = std::map<system_settings_key_e, SettingValue>;

struct SettingDefinition {
    system_settings_key_e key;
    const char* name;         // the key in the settings file
    const char* description;  // one line for the comment at the top of the file
    bool isInt;               // int, else string
};

// Every setting, in the order of the settings file.
const std::vector<SettingDefinition>& settingDefinitions();
// Null when the key or name is not a setting.
const SettingDefinition* findSetting(system_settings_key_e key);
const SettingDefinition* findSetting(const std::string& name);

// The values of a first start; the profile's device name, or a generic one when it is empty.
SettingsValues firstStartSettings(const std::string& profileDeviceName);

}  // namespace ipc_platform
