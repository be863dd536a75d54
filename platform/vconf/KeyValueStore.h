// The key-value store: string values under string keys, kept in memory and in one JSON file that
// every change replaces atomically. Thread-safe.
#pragma once

#include <map>
#include <mutex>
#include <string>

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

private:
    bool _commitLocked(std::map<std::string, std::string> values);

    std::string m_path;  // set by load, before the store is shared
    // Protects m_values and serialises writes of the file, so the file follows the call order.
    mutable std::mutex m_mutex;
    std::map<std::string, std::string> m_values;
};

}  // namespace ipc_platform
