// Selection of TVs by name, address, profile or all.
#include "TvSelection.h"

#include <algorithm>
#include <cstring>

#include <gio/gio.h>
#include <glib.h>

#include "JsonValue.h"

using common::json::JsonType;
using common::json::JsonValue;

std::string TvTarget::label() const {
    const std::string where =
        (address.find(':') != std::string::npos ? "[" + address + "]" : address) +
        (port == 0 ? "" : ":" + std::to_string(port));
    return name.empty() ? where : name + " (" + where + ")";
}

bool TvSelection::add(const std::string& text, std::string& error) {
    // An empty text splits into no words at all, which would select nothing without a word.
    gchar** words = g_strsplit(text.empty() ? "," : text.c_str(), ",", -1);
    bool good = true;
    for (gchar** part = words; *part != nullptr && good; ++part) {
        g_autofree gchar* stripped = g_strstrip(g_strdup(*part));
        const std::string word = stripped;
        if (word.empty()) {
            error = "--tv needs NAME, ADDRESS, all or profile:NAME, got '" + text + "'";
            good = false;
        } else if (word == "all") {
            m_words.push_back({Kind::All, "", word});
        } else if (word.rfind("profile:", 0) == 0) {
            good = word.size() > 8;
            error = good ? "" : "--tv profile: needs a profile name (tv-2023, wall...)";
            m_words.push_back({Kind::Profile, word.substr(8), word});
        } else if (g_hostname_is_ip_address(word.c_str())) {
            m_words.push_back({Kind::Address, word, word});
        } else {
            m_words.push_back({Kind::Name, word, word});
        }
    }
    g_strfreev(words);
    return good;
}

bool TvSelection::needsDiscovery() const {
    return std::any_of(m_words.begin(), m_words.end(),
                       [](const Word& word) { return word.kind != Kind::Address; });
}

bool TvSelection::_matches(const Word& word, const TvTarget& tv,
                           const std::map<std::string, std::string>& profileModels) {
    switch (word.kind) {
        case Kind::All:
            return true;
        case Kind::Address:
            return tv.address == word.value;
        case Kind::Name:
            // A host name given is also a way to name a TV.
            return tv.name == word.value || tv.address == word.value;
        case Kind::Profile: {
            auto known = profileModels.find(word.value);
            return tv.model == (known == profileModels.end() ? word.value : known->second);
        }
    }
    return false;
}

std::vector<TvTarget> TvSelection::select(const std::vector<TvTarget>& found,
                                          const std::map<std::string, std::string>& profileModels,
                                          std::vector<std::string>& unmatched) const {
    std::vector<TvTarget> chosen;
    std::vector<bool> used(m_words.size(), false);
    for (const TvTarget& tv : found) {
        bool picked = false;
        for (size_t i = 0; i < m_words.size(); ++i) {
            if (_matches(m_words[i], tv, profileModels)) {
                used[i] = true;
                picked = true;
            }
        }
        if (picked) {
            chosen.push_back(tv);
        }
    }
    unmatched.clear();
    for (size_t i = 0; i < m_words.size(); ++i) {
        if (used[i]) {
            continue;
        }
        if (m_words[i].kind == Kind::Address) {
            TvTarget tv;
            tv.address = m_words[i].value;
            chosen.push_back(tv);
        } else {
            unmatched.push_back(m_words[i].text);
        }
    }
    return chosen;
}

std::map<std::string, std::string> shippedProfileModels() {
    std::map<std::string, std::string> models;
    g_autofree gchar* exe = g_file_read_link("/proc/self/exe", nullptr);
    if (exe == nullptr) {
        return models;
    }
    g_autofree gchar* bin = g_path_get_dirname(exe);
    g_autofree gchar* folder =
        g_build_filename(bin, "..", "share", "ipcontrol", "profiles", nullptr);
    GDir* dir = g_dir_open(folder, 0, nullptr);
    if (dir == nullptr) {
        return models;
    }
    while (const gchar* entry = g_dir_read_name(dir)) {
        if (!g_str_has_suffix(entry, ".json")) {
            continue;
        }
        g_autofree gchar* path = g_build_filename(folder, entry, nullptr);
        g_autofree gchar* text = nullptr;
        if (!g_file_get_contents(path, &text, nullptr, nullptr)) {
            continue;
        }
        const JsonValue profile = JsonValue::Create(text);
        if (profile.type() != JsonType::objectValue) {
            continue;
        }
        const JsonValue& info = profile["systemInfo"];
        if (info.type() == JsonType::objectValue && info["productCode"].isString()) {
            models[std::string(entry, std::strlen(entry) - 5)] = info["productCode"].asString();
        }
    }
    g_dir_close(dir);
    return models;
}
