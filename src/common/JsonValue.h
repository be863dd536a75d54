// The JSON value every component passes around: request parameters, results, tables, settings.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "ChildManager.h"
#include "JsonException.h"
#include "JsonType.h"
#include "SharedJson.h"

namespace common::json {

// A JSON value with value semantics: copies are deep. Mutable operator[] returns a reference to a
// cached child that writes into this value's tree, so v["a"]["b"] = 5 builds {"a":{"b":5}}; such
// references stay valid until this value is assigned, changes kind, or drops that member or
// element. Misuse throws JsonException with a fixed text; malformed JSON text gives a null value.
// A moved-from value is null.
// Not thread-safe: one thread at a time per tree. Concurrent reads of Null::null_instance() are
// safe.
class JsonValue : public SharedJson {
public:
    struct Null {
        // The shared null value that read-only lookups return when nothing is found.
        static const JsonValue& null_instance();
    };

    JsonValue();
    JsonValue(JsonType type);  // an empty value of that kind
    JsonValue(bool value);
    JsonValue(int value);
    JsonValue(unsigned int value);
    JsonValue(long value);
    JsonValue(unsigned long value);  // beyond the 64-bit signed range it is kept as a double
    JsonValue(long long value);
    JsonValue(double value);
    JsonValue(const char* value);  // nullptr gives null
    JsonValue(const std::string& value);
    explicit JsonValue(SharedJson handle);  // adopts the handle: shares its tree

    JsonValue(const JsonValue& other);
    JsonValue(JsonValue&& other) noexcept;
    JsonValue& operator=(const JsonValue& other);
    JsonValue& operator=(JsonValue&& other) noexcept;
    ~JsonValue() override;

    static JsonValue Create(const std::string& text);
    std::string toString(bool pretty = false) const;

    bool isNull() const;
    bool isBool() const;
    bool isInt() const;     // also any double within the 64-bit range, fraction or not
    bool isDouble() const;  // int or double
    bool isString() const;
    bool isConvertibleTo(JsonType type) const;

    bool asBool() const;
    int asInt() const;
    unsigned int asUInt() const;  // out-of-range ints and doubles alike give the uint32_t text
    long long asInt64() const;
    double asDouble() const;
    std::string asString() const;

    // Members. For kinds other than null and object these throw "invalid type".
    bool isMember(const char* name) const;
    bool isMember(const std::string& name) const;
    std::vector<std::string> getMemberNames() const;
    void removeMember(const std::string& name);
    JsonValue get(const std::string& name, const JsonValue& defaultValue) const;
    JsonValue& operator[](const std::string& name);  // null becomes {}; a missing member is added
    const JsonValue& operator[](const std::string& name) const;  // missing gives null_instance()

    // Elements. For kinds other than null and array these throw "invalid type".
    size_t size() const;  // members of an object, elements of an array, 0 otherwise
    bool empty() const;   // null, {} or []; never a scalar
    void resize(size_t size);
    void append(const JsonValue& value);
    void append(JsonValue&& value);  // value is left null
    JsonValue get(size_t index, const JsonValue& defaultValue) const;
    JsonValue& operator[](size_t index);  // null becomes []; the array grows to hold index
    const JsonValue& operator[](size_t index) const;  // out of range gives null_instance()

    bool operator==(const JsonValue& other) const;
    bool operator!=(const JsonValue& other) const { return !(*this == other); }

private:
    void _take(SharedJson&& content);
    void _syncChildren() const;
    void _becomeContainer(JsonType type);
    template <typename Key>
    JsonValue& _child(const Key& key, JsonNode* node) const;
    void _checkObjectOrNull() const;
    void _checkArrayOrNull() const;

    mutable ChildManager m_children;
};

}  // namespace common::json
