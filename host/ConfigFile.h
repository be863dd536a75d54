// The daemon's configuration file: "key = value" lines, '#' comments, blank lines. Main thread.
#pragma once

#include <map>
#include <set>
#include <string>

class ConfigFile {
public:
    struct Entry {
        std::string value;
        int line = 0;
    };

    // Reads path; every key must be one of knownKeys. False with error set to one sentence
    // naming the file and, where there is one, the line and the key.
    bool load(const std::string& path, const std::set<std::string>& knownKeys, std::string& error);
    const Entry* find(const std::string& key) const;
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
    std::map<std::string, Entry> m_entries;
};
