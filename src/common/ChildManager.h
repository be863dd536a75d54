// Cache of the member and element values a JsonValue has handed out.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "ChildTable.h"
#include "JsonType.h"

namespace common::json {

class JsonValue;

// Owns the children a JsonValue returned by reference from operator[], keyed by member name and
// by element index, so that those references stay valid and writes through them land in the
// parent's tree. Records the kind the parent had when the children were cached; the parent
// drops them all when its kind changes.
// Not thread-safe: one thread at a time per tree.
class ChildManager {
public:
    explicit ChildManager(JsonType type = JsonType::nullValue);
    ChildManager(ChildManager&& other) noexcept;  // other is left empty, of kind null
    ChildManager& operator=(ChildManager&& other) noexcept;
    ChildManager(const ChildManager&) = delete;
    ChildManager& operator=(const ChildManager&) = delete;
    ~ChildManager();

    JsonType type() const { return m_type; }
    void set_type(JsonType type) { m_type = type; }

    void clear();
    void erase(const std::string& name);
    void erase_from(size_t index);  // drops the elements at index and beyond

    JsonValue* find(const std::string& name) const;
    JsonValue* find(size_t index) const;
    JsonValue& insert(const std::string& name, std::unique_ptr<JsonValue> child);
    JsonValue& insert(size_t index, std::unique_ptr<JsonValue> child);

private:
    JsonType m_type;
    ChildTable<std::string> m_members;
    ChildTable<size_t> m_elements;
};

}  // namespace common::json
