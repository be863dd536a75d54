// Cache of the member and element values a JsonValue has handed out.
#include "ChildManager.h"

#include "JsonValue.h"

namespace common::json {

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
    m_elements.erase_if([index](size_t key) { return key >= index; });
}

JsonValue* ChildManager::find(const std::string& name) const {
    return m_members.find(name);
}

JsonValue* ChildManager::find(size_t index) const {
    return m_elements.find(index);
}

JsonValue& ChildManager::insert(const std::string& name, std::unique_ptr<JsonValue> child) {
    return m_members.insert(name, std::move(child));
}

JsonValue& ChildManager::insert(size_t index, std::unique_ptr<JsonValue> child) {
    return m_elements.insert(index, std::move(child));
}

}  // namespace common::json
