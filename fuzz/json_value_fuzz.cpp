// Fuzz target: JSON text through JsonValue::Create and every reading and conversion of the result.
#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "JsonException.h"
#include "JsonValue.h"

using common::json::JsonException;
using common::json::JsonType;
using common::json::JsonValue;

namespace {

// Every conversion of one value; those that do not apply throw JsonException, nothing else may
// go wrong.
void convertAll(const JsonValue& value) {
    value.isNull();
    value.isBool();
    value.isInt();
    value.isDouble();
    value.isString();
    for (int kind = 0; kind <= 6; ++kind) {
        value.isConvertibleTo(static_cast<JsonType>(kind));
    }
    try {
        value.asBool();
    } catch (const JsonException&) {
    }
    try {
        value.asInt();
    } catch (const JsonException&) {
    }
    try {
        value.asUInt();
    } catch (const JsonException&) {
    }
    try {
        value.asInt64();
    } catch (const JsonException&) {
    }
    try {
        value.asDouble();
    } catch (const JsonException&) {
    }
    try {
        value.asString();
    } catch (const JsonException&) {
    }
    value.size();
    value.empty();
}

void walk(const JsonValue& value, int depth) {
    convertAll(value);
    if (depth > 64) {
        return;
    }
    try {
        for (const std::string& name : value.getMemberNames()) {
            walk(value[name], depth + 1);
            value.get(name, JsonValue("fallback"));
        }
    } catch (const JsonException&) {
    }
    for (size_t i = 0; i < value.size() && i < 64; ++i) {
        try {
            walk(value[i], depth + 1);
        } catch (const JsonException&) {
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    JsonValue value = JsonValue::Create(text);
    walk(value, 0);

    // What the value prints must read back as an equal value.
    JsonValue again = JsonValue::Create(value.toString());
    if (!value.isNull() && again.toString() != value.toString()) {
        __builtin_trap();
    }
    // Copies are deep: changing one leaves the other as it was.
    JsonValue copy = value;
    if (copy.type() == JsonType::objectValue) {
        copy["AccessToken"] = "x";
        copy.removeMember("AccessToken");
        if (copy.toString() != value.toString() && value.isMember("AccessToken") == false) {
            __builtin_trap();
        }
    }
    value.toString(true);
    return 0;
}
