// The token file: JSON object on disk, written through a temporary file and a rename.
#include "TokenStore.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include <glib.h>

#include "JsonValue.h"

using common::json::JsonType;
using common::json::JsonValue;

namespace {

std::string homeDir() {
    const char* home = std::getenv("HOME");
    if (home != nullptr && home[0] != '\0') {
        return home;
    }
    const passwd* entry = getpwuid(getuid());
    return entry != nullptr && entry->pw_dir != nullptr ? entry->pw_dir : ".";
}

std::string fileError(const std::string& path, GError* error) {
    std::string text = error->message;
    g_error_free(error);
    return text.find(path) != std::string::npos ? text : path + ": " + text;
}

}  // namespace

TokenStore::TokenStore(std::string path) : m_path(std::move(path)) {}

std::string TokenStore::defaultPath() {
    const char* config = std::getenv("XDG_CONFIG_HOME");
    std::string base = config != nullptr && config[0] == '/' ? config : homeDir() + "/.config";
    return base + "/ipcontrol/tokens.json";
}

std::string TokenStore::keyFor(const std::string& host, unsigned short port) {
    bool ipv6 = host.find(':') != std::string::npos;
    return (ipv6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

bool TokenStore::load(std::string& error) {
    m_tokens.clear();
    gchar* contents = nullptr;
    GError* gerror = nullptr;
    if (!g_file_get_contents(m_path.c_str(), &contents, nullptr, &gerror)) {
        bool missing = g_error_matches(gerror, G_FILE_ERROR, G_FILE_ERROR_NOENT);
        if (missing) {
            g_error_free(gerror);
            return true;
        }
        error = fileError(m_path, gerror);
        return false;
    }
    const JsonValue root = JsonValue::Create(contents);
    g_free(contents);
    if (root.type() != JsonType::objectValue) {
        error = m_path + ": not a JSON object of tokens";
        return false;
    }
    for (const std::string& key : root.getMemberNames()) {
        if (!root[key].isString()) {
            error = m_path + ": the token of " + key + " is not a string";
            m_tokens.clear();
            return false;
        }
        m_tokens[key] = root[key].asString();
    }
    return true;
}

std::string TokenStore::find(const std::string& key) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = m_tokens.find(key);
    return it == m_tokens.end() ? std::string() : it->second;
}

void TokenStore::put(const std::string& key, const std::string& token) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_tokens[key] = token;
}

bool TokenStore::remove(const std::string& key) {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_tokens.erase(key) > 0;
}

std::vector<std::string> TokenStore::keys() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::string> keys;
    for (const auto& entry : m_tokens) {
        keys.push_back(entry.first);
    }
    return keys;
}

void TokenStore::deferSaves(bool deferred) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_deferred = deferred;
}

bool TokenStore::save(std::string& error) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_deferred) {
        return true;
    }
    g_autofree gchar* folder = g_path_get_dirname(m_path.c_str());
    if (g_mkdir_with_parents(folder, 0700) != 0) {
        error = std::string(folder) + ": " + g_strerror(errno);
        return false;
    }
    JsonValue root(JsonType::objectValue);
    for (const auto& [key, token] : m_tokens) {
        root[key] = token;
    }
    const std::string text = root.toString(true) + "\n";
    GError* gerror = nullptr;
    const auto flags = static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT |
                                                          G_FILE_SET_CONTENTS_DURABLE);
    if (!g_file_set_contents_full(m_path.c_str(), text.data(), static_cast<gssize>(text.size()),
                                  flags, 0600, &gerror)) {
        error = fileError(m_path, gerror);
        return false;
    }
    return true;
}
