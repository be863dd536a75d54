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
    size_t maxLength;         // of a string, in characters
};

// Every setting, in the order of the settings file.
const std::vector<SettingDefinition>& settingDefinitions();
// Null when the key or name is not a setting.
const SettingDefinition* findSetting(system_settings_key_e key);
const SettingDefinition* findSetting(const std::string& name);

// Why a value is refused for a string setting, or "" when it is accepted: it must be UTF-8
// without control characters (U+0000-U+001F, U+007F), at most maxLength characters long.
std::string stringRefusal(const SettingDefinition& setting, const std::string& value);

// The values of a first start; the profile's device name, or a generic one when it is empty.
SettingsValues firstStartSettings(const std::string& profileDeviceName);

}  // namespace ipc_platform
