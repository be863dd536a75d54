// The daemon's configuration file.
#include "ConfigFile.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace {

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos) {
        return "";
    }
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

std::string keyList(const std::set<std::string>& knownKeys) {
    std::string list;
    for (const auto& key : knownKeys) {
        list += (list.empty() ? "" : ", ") + key;
    }
    return list;
}

}  // namespace

bool ConfigFile::load(const std::string& path, const std::set<std::string>& knownKeys,
                      std::string& error) {
    m_path = path;
    m_entries.clear();
    std::ifstream in(path);
    if (!in) {
        error = "cannot read configuration file " + path + ": " + std::strerror(errno);
        return false;
    }
    std::string text;
    for (int number = 1; std::getline(in, text); ++number) {
        const std::string line = trimmed(text);
        if (line.empty() || line[0] == '#') {
            continue;
        }
        const std::string where = path + ":" + std::to_string(number) + ": ";
        const size_t equals = line.find('=');
        if (equals == std::string::npos) {
            error = where + "expected 'key = value', got '" + line + "'";
            return false;
        }
        const std::string key = trimmed(line.substr(0, equals));
        if (knownKeys.count(key) == 0) {
            error = where + "unknown key '" + key + "' (known keys: " + keyList(knownKeys) + ")";
            return false;
        }
        if (const Entry* earlier = find(key)) {
            error =
                where + "key '" + key + "' is already set on line " + std::to_string(earlier->line);
            return false;
        }
        m_entries[key] = {trimmed(line.substr(equals + 1)), number};
    }
    return true;
}

const ConfigFile::Entry* ConfigFile::find(const std::string& key) const {
    auto it = m_entries.find(key);
    return it == m_entries.end() ? nullptr : &it->second;
}
