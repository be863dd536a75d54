// Cache of the member and element values a JsonValue has handed out.
#include "ChildManager.h"

#include <iterator>

#include "JsonValue.h"

namespace common::json {

namespace {

template <typename Map>
JsonValue* lookup(const Map& map, const typename Map::key_type& key) {
    auto it = map.find(key);
    return it != map.end() ? it->second.get() : nullptr;
}

}  // namespace

ChildManager::ChildManager(JsonType type) : m_type(type) {}

ChildManager::ChildManager(ChildManager&& other) noexcept
    : m_type(other.m_type),
      m_members(std::move(other.m_members)),
      m_elements(std::move(other.m_elements)) {
    other.clear();
    other.m_type = JsonType::nullValue;
}

ChildManager& ChildManager::operator=(ChildManager&& other) noexcept {
    if (this != &other) {
        m_type = other.m_type;
        m_members = std::move(other.m_members);
        m_elements = std::move(other.m_elements);
        other.clear();
        other.m_type = JsonType::nullValue;
    }
    return *this;
}

ChildManager::~ChildManager() = default;

void ChildManager::clear() {
    m_members.clear();
    m_elements.clear();
}

void ChildManager::erase(const std::string& name) {
    m_members.erase(name);
}

void ChildManager::erase_from(size_t index) {
    for (auto it = m_elements.begin(); it != m_elements.end();) {
        it = it->first >= index ? m_elements.erase(it) : std::next(it);
    }
}

JsonValue* ChildManager::find(const std::string& name) const {
    return lookup(m_members, name);
}

JsonValue* ChildManager::find(size_t index) const {
    return lookup(m_elements, index);
}

JsonValue& ChildManager::insert(const std::string& name, std::unique_ptr<JsonValue> child) {
    return *(m_members[name] = std::move(child));
}

JsonValue& ChildManager::insert(size_t index, std::unique_ptr<JsonValue> child) {
    return *(m_elements[index] = std::move(child));
}

}  // namespace common::json
