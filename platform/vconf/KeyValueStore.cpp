// The key-value store: a JSON object of strings, read once and rewritten whole on every change.
#include "KeyValueStore.h"

#include <json-glib/json-glib.h>

#include "AtomicFile.h"
#include "JsonFile.h"
#include "PlatformLog.h"
#include "dlog.h"

namespace ipc_platform {

namespace {

bool isValidText(const std::string& text) {
    // With a length, NUL bytes count as invalid too.
    return g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr);
}

std::string toJson(const std::map<std::string, std::string>& values) {
    JsonBuilder* builder = json_builder_new();
    json_builder_begin_object(builder);
    for (const auto& [key, value] : values) {
        json_builder_set_member_name(builder, key.c_str());
        json_builder_add_string_value(builder, value.c_str());
    }
    json_builder_end_object(builder);
    JsonNode* root = json_builder_get_root(builder);
    JsonGenerator* generator = json_generator_new();
    json_generator_set_pretty(generator, TRUE);
    json_generator_set_root(generator, root);
    gchar* text = json_generator_to_data(generator, nullptr);
    std::string result = std::string(text) + "\n";
    g_free(text);
    g_object_unref(generator);
    json_node_unref(root);
    g_object_unref(builder);
    return result;
}

}  // namespace

bool KeyValueStore::load(const std::string& path, std::string& error) {
    m_path = path;
    std::map<std::string, std::string> values;
    if (g_file_test(path.c_str(), G_FILE_TEST_EXISTS)) {
        JsonParser* parser = parseJsonObjectFile(path, error);
        if (parser == nullptr) {
            return false;
        }
        JsonObjectIter iter;
        const char* member = nullptr;
        JsonNode* node = nullptr;
        json_object_iter_init(&iter, json_node_get_object(json_parser_get_root(parser)));
        while (json_object_iter_next(&iter, &member, &node)) {
            if (!JSON_NODE_HOLDS_VALUE(node) || json_node_get_value_type(node) != G_TYPE_STRING) {
                error = path + ": the value of \"" + member + "\" is not a string";
                g_object_unref(parser);
                return false;
            }
            values[member] = json_node_get_string(node);
        }
        g_object_unref(parser);
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    m_values = std::move(values);
    return true;
}

bool KeyValueStore::get(const std::string& key, std::string& value) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_values.find(key);
    if (it == m_values.end()) {
        return false;
    }
    value = it->second;
    return true;
}

bool KeyValueStore::set(const std::string& key, const std::string& value) {
    if (key.empty() || !isValidText(key) || !isValidText(value)) {
        return false;
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_values.find(key);
    if (it != m_values.end() && it->second == value) {
        return true;
    }
    auto values = m_values;
    values[key] = value;
    return _commitLocked(std::move(values), key);
}

bool KeyValueStore::unset(const std::string& key) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_values.count(key) == 0) {
        return true;
    }
    auto values = m_values;
    values.erase(key);
    return _commitLocked(std::move(values), key);
}

bool KeyValueStore::_commitLocked(std::map<std::string, std::string> values,
                                  const std::string& changedKey) {
    std::string error;
    if (!replaceFileContents(m_path, toJson(values), error)) {
        dlog_print(DLOG_ERROR, kLogTag, "key-value store not written: %s", error.c_str());
        return false;
    }
    m_values = std::move(values);
    const std::shared_ptr<Watchers> watchers = m_watchers;
    m_announcements.add(0, [watchers, changedKey] { _announce(watchers, changedKey); });
    return true;
}

void KeyValueStore::_announce(const std::shared_ptr<Watchers>& watchers, const std::string& key) {
    std::vector<ChangeCallback> callbacks;
    {
        std::lock_guard<std::mutex> lock(watchers->mutex);
        for (const Watcher& watcher : watchers->list) {
            if (watcher.key == key) {
                callbacks.push_back(watcher.callback);
            }
        }
    }
    for (ChangeCallback callback : callbacks) {
        // Looked up again: an earlier callback may have removed this one.
        void* userData = nullptr;
        bool registered = false;
        {
            std::lock_guard<std::mutex> lock(watchers->mutex);
            for (const Watcher& watcher : watchers->list) {
                if (!watchers->stopped && watcher.key == key && watcher.callback == callback) {
                    userData = watcher.userData;
                    registered = true;
                }
            }
        }
        if (registered) {
            callback(key.c_str(), userData);
        }
    }
}

void KeyValueStore::watch(const std::string& key, ChangeCallback callback, void* userData) {
    std::lock_guard<std::mutex> lock(m_watchers->mutex);
    for (Watcher& watcher : m_watchers->list) {
        if (watcher.key == key && watcher.callback == callback) {
            watcher.userData = userData;
            return;
        }
    }
    m_watchers->list.push_back(Watcher{key, callback, userData});
}

bool KeyValueStore::unwatch(const std::string& key, ChangeCallback callback) {
    std::lock_guard<std::mutex> lock(m_watchers->mutex);
    auto& list = m_watchers->list;
    for (auto it = list.begin(); it != list.end(); ++it) {
        if (it->key == key && it->callback == callback) {
            list.erase(it);
            return true;
        }
    }
    return false;
}

void KeyValueStore::stop() {
    {
        std::lock_guard<std::mutex> lock(m_watchers->mutex);
        m_watchers->list.clear();
        m_watchers->stopped = true;
    }
    m_announcements.cancelAll();
}

}  // namespace ipc_platform
