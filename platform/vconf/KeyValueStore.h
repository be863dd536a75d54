// The key-value store: string values under string keys, kept in memory and in one JSON file that
// every change replaces atomically, with change callbacks on the main loop. Thread-safe, except
// stop() (main-loop only).
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "MainLoopTimers.h"

namespace ipc_platform {

class KeyValueStore {
public:
    // Reads the store's file; a missing file is an empty store. A file that does not parse or
    // holds a value that is not a string is refused: returns false with error naming the file.
    bool load(const std::string& path, std::string& error);

    // False when the key is absent.
    bool get(const std::string& key, std::string& value) const;
    // Keys must be non-empty; keys and values valid UTF-8. False when refused or when
    // the file could not be written; the store then keeps its previous contents.
    bool set(const std::string& key, const std::string& value);
    // True when the key is absent afterwards.
    bool unset(const std::string& key);

    using ChangeCallback = void (*)(const char* key, void* userData);
    // After every change of the key's value (a different value, or removal) the callback runs
    // from an idle source on the default main context, never inside the change. It is looked up
    // when it runs, so one removed meanwhile is not called. Watching the same key with the same
    // callback again replaces the user data.
    void watch(const std::string& key, ChangeCallback callback, void* userData);
    // False when the callback does not watch the key.
    bool unwatch(const std::string& key, ChangeCallback callback);
    // Main-loop only. Drops every callback and the pending ones; values stay readable and
    // writable.
    void stop();

private:
    struct Watcher {
        std::string key;
        ChangeCallback callback;
        void* userData;
    };
    // Shared with the pending main-loop work, which may run after the store is gone.
    struct Watchers {
        std::mutex mutex;  // protects list and stopped
        std::vector<Watcher> list;
        bool stopped = false;
    };

    bool _commitLocked(std::map<std::string, std::string> values, const std::string& changedKey);
    static void _announce(const std::shared_ptr<Watchers>& watchers, const std::string& key);

    std::string m_path;  // set by load, before the store is shared
    // Protects m_values and serialises writes of the file, so the file follows the call order.
    mutable std::mutex m_mutex;
    std::map<std::string, std::string> m_values;

    const std::shared_ptr<Watchers> m_watchers = std::make_shared<Watchers>();
    MainLoopTimers m_announcements;  // one per committed change
};

}  // namespace ipc_platform
