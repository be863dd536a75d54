// The JSON value every component passes around: request parameters, results, tables, settings.
#include "JsonValue.h"

#include <glib.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>

#include "JsonNodeTree.h"

namespace common::json {

namespace {

constexpr double kInt64Low = -9223372036854775808.0;  // -2^63
constexpr double kInt64High = 9223372036854775808.0;  // 2^63, itself out of range

bool within(double value, double low, double high) {
    return value >= low && value <= high;
}

// The failure texts of a conversion to a 32-bit integer.
struct NarrowingTexts {
    const char* intOutOfRange;
    const char* doubleOutOfRange;
    const char* wrongKind;
};

// Converts to the 32-bit integer type T: doubles truncate toward zero; ints and doubles outside
// T's range throw.
template <typename T>
T narrow(const SharedJson& value, const NarrowingTexts& texts) {
    constexpr T low = std::numeric_limits<T>::min();
    constexpr T high = std::numeric_limits<T>::max();
    switch (value.type()) {
        case JsonType::nullValue:
            return 0;
        case JsonType::boolValue:
            return value.get_bool() ? 1 : 0;
        case JsonType::intValue: {
            const long long number = value.get_int();
            if (number < low || number > high) {
                throw JsonException(texts.intOutOfRange);
            }
            return static_cast<T>(number);
        }
        case JsonType::doubleValue: {
            const double number = value.get_double();
            if (!within(number, low, high)) {
                throw JsonException(texts.doubleOutOfRange);
            }
            return static_cast<T>(number);
        }
        default:
            throw JsonException(texts.wrongKind);
    }
}

template <typename T>
std::string format(const char* pattern, T value) {
    const int length = std::snprintf(nullptr, 0, pattern, value);
    std::string text(static_cast<size_t>(length), '\0');
    std::snprintf(text.data(), text.size() + 1, pattern, value);
    return text;
}

// "%f" in the C locale whatever the TV's region setting: a German region must not turn 2.5
// into "2,500000" on the wire.
std::string formatDouble(double value) {
    char buffer[G_ASCII_DTOSTR_BUF_SIZE + 320];
    return g_ascii_formatd(buffer, sizeof(buffer), "%f", value);
}

}  // namespace

const JsonValue& JsonValue::Null::null_instance() {
    // Made with its node in place: threads reading it at once must not race to make one.
    static const JsonValue instance{SharedJson(node_tree::new_null())};
    return instance;
}

JsonValue::JsonValue() : m_children(JsonType::nullValue) {}

JsonValue::JsonValue(JsonType type) {
    SharedJson::init(type);
    m_children.set_type(SharedJson::type());
}

JsonValue::JsonValue(bool value) : SharedJson(value), m_children(JsonType::boolValue) {}

JsonValue::JsonValue(int value) : JsonValue(static_cast<long long>(value)) {}

JsonValue::JsonValue(unsigned int value) : JsonValue(static_cast<long long>(value)) {}

JsonValue::JsonValue(long value) : JsonValue(static_cast<long long>(value)) {}

JsonValue::JsonValue(unsigned long value)
    : JsonValue(value <= static_cast<unsigned long>(LLONG_MAX)
                    ? JsonValue(static_cast<long long>(value))
                    : JsonValue(static_cast<double>(value))) {}

JsonValue::JsonValue(long long value) : SharedJson(value), m_children(JsonType::intValue) {}

JsonValue::JsonValue(double value) : SharedJson(value), m_children(JsonType::doubleValue) {}

JsonValue::JsonValue(const char* value) : SharedJson(value), m_children(SharedJson::type()) {}

JsonValue::JsonValue(const std::string& value)
    : SharedJson(value), m_children(JsonType::stringValue) {}

JsonValue::JsonValue(SharedJson handle)
    : SharedJson(std::move(handle)), m_children(SharedJson::type()) {}

JsonValue::JsonValue(const JsonValue& other)
    : SharedJson(other.clone()), m_children(SharedJson::type()) {}

JsonValue::JsonValue(JsonValue&& other) noexcept {
    if (other._isRoot()) {
        // The whole tree changes hands, and with it the children other has handed out.
        SharedJson::operator=(static_cast<SharedJson&&>(other));
        m_children = std::move(other.m_children);
    } else {
        SharedJson::operator=(_detach(other));
        other._syncChildren();
        m_children.set_type(SharedJson::type());
    }
}

JsonValue& JsonValue::operator=(const JsonValue& other) {
    _take(other.clone());
    return *this;
}

JsonValue& JsonValue::operator=(JsonValue&& other) noexcept {
    if (this != &other) {
        SharedJson content = _detach(other);
        other._syncChildren();
        _take(std::move(content));
    }
    return *this;
}

JsonValue::~JsonValue() = default;

JsonValue JsonValue::Create(const std::string& text) {
    return JsonValue(SharedJson::Create(text));
}

std::string JsonValue::toString(bool pretty) const {
    return to_string(pretty);
}

bool JsonValue::isNull() const {
    return type() == JsonType::nullValue;
}

bool JsonValue::isBool() const {
    return type() == JsonType::boolValue;
}

bool JsonValue::isInt() const {
    switch (type()) {
        case JsonType::intValue:
            return true;
        case JsonType::doubleValue:
            return within(get_double(), kInt64Low, kInt64High);
        default:
            return false;
    }
}

bool JsonValue::isDouble() const {
    const JsonType kind = type();
    return kind == JsonType::intValue || kind == JsonType::doubleValue;
}

bool JsonValue::isString() const {
    return type() == JsonType::stringValue;
}

bool JsonValue::isConvertibleTo(JsonType target) const {
    const JsonType kind = type();
    const bool number = kind == JsonType::intValue || kind == JsonType::doubleValue;
    const bool scalar = kind == JsonType::nullValue || kind == JsonType::boolValue || number;
    switch (target) {
        case JsonType::nullValue:
            switch (kind) {
                case JsonType::nullValue:
                    return true;
                case JsonType::boolValue:
                    return !get_bool();
                case JsonType::intValue:
                    return get_int() == 0;
                case JsonType::doubleValue:
                    return get_double() == 0.0;
                case JsonType::objectValue:
                case JsonType::arrayValue:
                    return size() == 0;
                default:
                    return false;
            }
        case JsonType::boolValue:
        case JsonType::doubleValue:
            return scalar;
        case JsonType::intValue:
            return scalar && (kind != JsonType::doubleValue || isInt());
        case JsonType::stringValue:
            return scalar || kind == JsonType::stringValue;
        case JsonType::objectValue:
        case JsonType::arrayValue:
            return kind == JsonType::nullValue || kind == target;
        default:
            return false;
    }
}

bool JsonValue::asBool() const {
    switch (type()) {
        case JsonType::nullValue:
            return false;
        case JsonType::boolValue:
            return get_bool();
        case JsonType::intValue:
            return get_int() != 0;
        case JsonType::doubleValue: {
            const double value = get_double();
            return value != 0.0 && !std::isnan(value);
        }
        default:
            throw JsonException("cannot convert to bool type");
    }
}

int JsonValue::asInt() const {
    return narrow<int>(*this,
                       {"int64_t value exceed int32_t range", "double value exceed int32_t range",
                        "cannot convert to int32_t type"});
}

unsigned int JsonValue::asUInt() const {
    return narrow<unsigned int>(
        *this, {"int64_t value exceed uint32_t range", "int64_t value exceed uint32_t range",
                "cannot convert to uint32_t type"});
}

long long JsonValue::asInt64() const {
    switch (type()) {
        case JsonType::nullValue:
            return 0;
        case JsonType::boolValue:
            return get_bool() ? 1 : 0;
        case JsonType::intValue:
            return get_int();
        case JsonType::doubleValue: {
            const double value = get_double();
            if (!(value >= kInt64Low && value < kInt64High)) {
                throw JsonException("double value exceed int64_t range");
            }
            return static_cast<long long>(value);
        }
        default:
            throw JsonException("cannot convert to int64_t type");
    }
}

double JsonValue::asDouble() const {
    switch (type()) {
        case JsonType::nullValue:
            return 0.0;
        case JsonType::boolValue:
        case JsonType::intValue:
        case JsonType::doubleValue:
            return get_double();
        default:
            throw JsonException("cannot convert to double type");
    }
}

std::string JsonValue::asString() const {
    switch (type()) {
        case JsonType::nullValue:
            return "";
        case JsonType::boolValue:
            return get_bool() ? "true" : "false";
        case JsonType::intValue:
            return format("%lld", get_int());
        case JsonType::doubleValue:
            return formatDouble(get_double());
        case JsonType::stringValue:
            return get_string();
        default:
            throw JsonException("cannot convert to string type");
    }
}

bool JsonValue::isMember(const char* name) const {
    return isMember(std::string(name != nullptr ? name : ""));
}

bool JsonValue::isMember(const std::string& name) const {
    _checkObjectOrNull();
    return has(name);
}

std::vector<std::string> JsonValue::getMemberNames() const {
    _checkObjectOrNull();
    return get_member_names();
}

void JsonValue::removeMember(const std::string& name) {
    _checkObjectOrNull();
    if (type() == JsonType::objectValue) {
        remove_member(name);
        m_children.erase(name);
    }
}

JsonValue JsonValue::get(const std::string& name, const JsonValue& defaultValue) const {
    _checkObjectOrNull();
    JsonNode* member = _member(name);
    return member != nullptr ? JsonValue(SharedJson(node_tree::deep_copy(member))) : defaultValue;
}

JsonValue& JsonValue::operator[](const std::string& name) {
    _becomeContainer(JsonType::objectValue);
    JsonNode* member = _member(name);
    if (member == nullptr) {
        alloc_member(name);
        member = _member(name);
    }
    return _child(name, member);
}

const JsonValue& JsonValue::operator[](const std::string& name) const {
    _checkObjectOrNull();
    JsonNode* member = _member(name);
    return member != nullptr ? _child(name, member) : Null::null_instance();
}

size_t JsonValue::size() const {
    switch (type()) {
        case JsonType::objectValue:
            return object_size();
        case JsonType::arrayValue:
            return array_size();
        default:
            return 0;
    }
}

bool JsonValue::empty() const {
    switch (type()) {
        case JsonType::nullValue:
            return true;
        case JsonType::objectValue:
        case JsonType::arrayValue:
            return size() == 0;
        default:
            return false;
    }
}

void JsonValue::resize(size_t size) {
    _becomeContainer(JsonType::arrayValue);
    SharedJson::resize(size);
    m_children.erase_from(size);
}

void JsonValue::append(const JsonValue& value) {
    append(JsonValue(value));
}

void JsonValue::append(JsonValue&& value) {
    _becomeContainer(JsonType::arrayValue);
    SharedJson content = _detach(value);
    value._syncChildren();
    SharedJson::append(std::move(content));
}

JsonValue JsonValue::get(size_t index, const JsonValue& defaultValue) const {
    _checkArrayOrNull();
    JsonNode* element = _element(index);
    return element != nullptr ? JsonValue(SharedJson(node_tree::deep_copy(element))) : defaultValue;
}

JsonValue& JsonValue::operator[](size_t index) {
    _becomeContainer(JsonType::arrayValue);
    if (index >= array_size()) {
        SharedJson::resize(index + 1);
    }
    return _child(index, _element(index));
}

const JsonValue& JsonValue::operator[](size_t index) const {
    _checkArrayOrNull();
    JsonNode* element = _element(index);
    return element != nullptr ? _child(index, element) : Null::null_instance();
}

bool JsonValue::operator==(const JsonValue& other) const {
    return equal(other);
}

// Replaces this value's content with content, a tree of its own. The cached children go first:
// the source of the content may be one of them, and is not used past this point.
void JsonValue::_take(SharedJson&& content) {
    m_children.clear();
    SharedJson::set(std::move(content));
    m_children.set_type(SharedJson::type());
}

// Forgets the cached children once the node is no longer of the kind they were cached for.
void JsonValue::_syncChildren() const {
    const JsonType kind = type();
    if (m_children.type() != kind) {
        m_children.clear();
        m_children.set_type(kind);
    }
}

// A null value becomes an empty container of the kind; another kind than that one throws.
void JsonValue::_becomeContainer(JsonType kind) {
    _syncChildren();
    const JsonType current = type();
    if (current == JsonType::nullValue) {
        SharedJson::init(kind);
        m_children.set_type(kind);
    } else if (current != kind) {
        throw JsonException("invalid type");
    }
}

// The cached child for node, the existing member or element at key, created on first use. A
// member replaced through another handle since it was cached is followed, so the child keeps
// writing into the tree.
template <typename Key>
JsonValue& JsonValue::_child(const Key& key, JsonNode* node) const {
    _syncChildren();
    JsonValue* cached = m_children.find(key);
    if (cached == nullptr) {
        return m_children.insert(key, std::make_unique<JsonValue>(_handle(node)));
    }
    if (!cached->_designates(node)) {
        cached->SharedJson::operator=(_handle(node));
        cached->_syncChildren();
        cached->m_children.clear();
    }
    return *cached;
}

void JsonValue::_checkObjectOrNull() const {
    const JsonType kind = type();
    if (kind != JsonType::nullValue && kind != JsonType::objectValue) {
        throw JsonException("invalid type");
    }
}

void JsonValue::_checkArrayOrNull() const {
    const JsonType kind = type();
    if (kind != JsonType::nullValue && kind != JsonType::arrayValue) {
        throw JsonException("invalid type");
    }
}

}  // namespace common::json
