// The human-readable settings file: group [settings], one line per setting, a comment on top.
// Stateless apart from its path; thread-safe.
#pragma once

#include <string>

#include "SettingsSchema.h"

namespace ipc_platform {

class SettingsFile {
public:
    enum class LoadResult {
        Loaded,   // values hold the file's settings, defaults where it has none
        Missing,  // there is no file
        Empty,    // the file has no bytes (possibly being written); values hold the defaults
        Refused,  // error names the file and the reason
    };

    explicit SettingsFile(std::string path) : m_path(std::move(path)) {}

    const std::string& path() const { return m_path; }

    // values must hold every setting (the defaults); the file's settings replace them.
    LoadResult load(SettingsValues& values, std::string& error) const;
    // Replaces the file atomically. On failure returns false with error naming the file.
    bool save(const SettingsValues& values, std::string& error) const;

private:
    std::string m_path;
};

}  // namespace ipc_platform
