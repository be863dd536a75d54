// The settings file read and written with GLib's key files.
#include "SettingsFile.h"

#include <glib.h>

#include "AtomicFile.h"
#include "FileError.h"

namespace ipc_platform {

namespace {

constexpr char kGroup[] = "settings";

std::string headerComment() {
    std::string text =
        " Settings of the IP-control service.\n"
        " Edits apply at once while the service runs. An edit that does not parse is logged\n"
        " and ignored, and the service will not start until it is mended.\n"
        " A key that is left out takes its first-start value.\n";
    for (const SettingDefinition& definition : settingDefinitions()) {
        text += std::string("   ") + definition.name + ": " + definition.description + "\n";
    }
    text.pop_back();
    return text;
}

// Reads the settings group into values; returns the problem, empty when none.
std::string readGroup(GKeyFile* file, SettingsValues& values) {
    gchar** groups = g_key_file_get_groups(file, nullptr);
    std::string problem;
    for (gchar** group = groups; *group != nullptr && problem.empty(); ++group) {
        if (g_strcmp0(*group, kGroup) != 0) {
            problem = std::string("unknown group [") + *group + "]";
        }
    }
    g_strfreev(groups);
    if (!problem.empty() || !g_key_file_has_group(file, kGroup)) {
        return problem;
    }

    gchar** keys = g_key_file_get_keys(file, kGroup, nullptr, nullptr);
    for (gchar** key = keys; *key != nullptr && problem.empty(); ++key) {
        const SettingDefinition* definition = findSetting(std::string(*key));
        if (definition == nullptr) {
            problem = std::string("unknown key \"") + *key + "\" in [settings]";
            continue;
        }
        GError* gerror = nullptr;
        if (definition->isInt) {
            const int number = g_key_file_get_integer(file, kGroup, *key, &gerror);
            values[definition->key] = number;
        } else {
            gchar* text = g_key_file_get_string(file, kGroup, *key, &gerror);
            values[definition->key] = std::string(text != nullptr ? text : "");
            g_free(text);
        }
        if (gerror != nullptr) {
            problem = gerror->message;
            g_error_free(gerror);
        }
    }
    g_strfreev(keys);
    return problem;
}

}  // namespace

SettingsFile::LoadResult SettingsFile::load(SettingsValues& values, std::string& error) const {
    gchar* contents = nullptr;
    gsize length = 0;
    GError* gerror = nullptr;
    if (!g_file_get_contents(m_path.c_str(), &contents, &length, &gerror)) {
        const bool missing = g_error_matches(gerror, G_FILE_ERROR, G_FILE_ERROR_NOENT);
        error = fileError(m_path, gerror->message);
        g_error_free(gerror);
        return missing ? LoadResult::Missing : LoadResult::Refused;
    }
    if (length == 0) {
        g_free(contents);
        return LoadResult::Empty;
    }

    GKeyFile* file = g_key_file_new();
    std::string problem;
    if (!g_key_file_load_from_data(file, contents, length, G_KEY_FILE_NONE, &gerror)) {
        problem = gerror->message;
        g_error_free(gerror);
    } else {
        problem = readGroup(file, values);
    }
    g_key_file_free(file);
    g_free(contents);
    if (!problem.empty()) {
        error = m_path + ": " + problem;
        return LoadResult::Refused;
    }
    return LoadResult::Loaded;
}

bool SettingsFile::save(const SettingsValues& values, std::string& error) const {
    GKeyFile* file = g_key_file_new();
    g_key_file_set_comment(file, nullptr, nullptr, headerComment().c_str(), nullptr);
    for (const SettingDefinition& definition : settingDefinitions()) {
        const SettingValue& value = values.at(definition.key);
        if (definition.isInt) {
            g_key_file_set_integer(file, kGroup, definition.name, std::get<int>(value));
        } else {
            g_key_file_set_string(file, kGroup, definition.name,
                                  std::get<std::string>(value).c_str());
        }
    }
    gsize length = 0;
    gchar* text = g_key_file_to_data(file, &length, nullptr);
    const bool saved = replaceFileContents(m_path, std::string(text, length), error);
    g_free(text);
    g_key_file_free(file);
    return saved;
}

}  // namespace ipc_platform
