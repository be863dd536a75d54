// The children a JsonValue has handed out for one kind of key: member names or element indexes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

namespace common::json {

class JsonValue;

// Owns cached children by key. Most values hand out a handful of children, or none, so the first
// few are kept in a vector searched in order, which costs nothing until the first child comes;
// past kFew they move into a hash map, so that a value with thousands of members cached does not
// walk them all on every lookup.
// Instantiated where JsonValue is complete (ChildManager.cpp).
// Not thread-safe: one thread at a time per tree.
template <typename Key>
class ChildTable {
public:
    JsonValue* find(const Key& key) const {
        if (m_many != nullptr) {
            auto it = m_many->find(key);
            return it != m_many->end() ? it->second.get() : nullptr;
        }
        auto it = std::find_if(m_few.begin(), m_few.end(),
                               [&key](const Entry& entry) { return entry.first == key; });
        return it != m_few.end() ? it->second.get() : nullptr;
    }

    // Replaces a child already cached under key.
    JsonValue& insert(const Key& key, std::unique_ptr<JsonValue> child) {
        if (m_many == nullptr && m_few.size() == kFew && find(key) == nullptr) {
            m_many = std::make_unique<Map>();
            for (Entry& entry : m_few) {
                m_many->emplace(std::move(entry.first), std::move(entry.second));
            }
            m_few.clear();
        }
        if (m_many != nullptr) {
            return *((*m_many)[key] = std::move(child));
        }
        for (Entry& entry : m_few) {
            if (entry.first == key) {
                return *(entry.second = std::move(child));
            }
        }
        m_few.reserve(kFew);  // one allocation for them all
        return *m_few.emplace_back(key, std::move(child)).second;
    }

    void erase(const Key& key) {
        if (m_many != nullptr) {
            m_many->erase(key);
        } else {
            erase_if([&key](const Key& candidate) { return candidate == key; });
        }
    }

    // Drops the children whose key satisfies drop.
    template <typename Predicate>
    void erase_if(Predicate drop) {
        if (m_many != nullptr) {
            for (auto it = m_many->begin(); it != m_many->end();) {
                it = drop(it->first) ? m_many->erase(it) : std::next(it);
            }
            return;
        }
        m_few.erase(std::remove_if(m_few.begin(), m_few.end(),
                                   [&drop](const Entry& entry) { return drop(entry.first); }),
                    m_few.end());
    }

    void clear() {
        m_few.clear();
        m_many.reset();
    }

private:
    static constexpr size_t kFew = 8;
    using Entry = std::pair<Key, std::unique_ptr<JsonValue>>;
    using Map = std::unordered_map<Key, std::unique_ptr<JsonValue>>;

    std::vector<Entry> m_few;     // while there are at most kFew
    std::unique_ptr<Map> m_many;  // once there were more; m_few is empty then
};

}  // namespace common::json
