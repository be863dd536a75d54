// Commands, framework answers and sent properties for the tests of the control helpers.
#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "Manager/CmdRequest.h"
#include "System/FakeDynf.h"
#include "System/IControlHelper.h"

namespace helpertest {

using common::json::JsonType;
using common::json::JsonValue;
using List = std::unique_ptr<dynf_property_list_s, fakedynf::ListDeleter>;

// A command of type for method with the given params text.
inline CmdRequest command(DYNF_TVCONTROL_PROP_TYPE type, const std::string& params,
                          const std::string& method = "m") {
    CmdRequest request;
    request.method = method;
    request.params = JsonValue::Create(params);
    request.propType = type;
    return request;
}

// A framework answer written as a JSON object, one property per member: an integer, a bool or a
// string property by the member's kind, and a JSON-string property holding an object's or an
// array's text. Null text: no list at all.
inline List answer(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const JsonValue members = JsonValue::Create(text);
    List list(dynf_property_list_create());
    for (const std::string& name : members.getMemberNames()) {
        const JsonValue& value = members[name];
        const char* n = name.c_str();
        const JsonType kind = value.type();
        dynf_property_list_push(
            list.get(), kind == JsonType::intValue    ? dynf_property_create_int(n, value.asInt())
                        : kind == JsonType::boolValue ? dynf_property_create_bool(n, value.asBool())
                        : kind == JsonType::stringValue
                            ? dynf_property_create_string(n, value.asString().c_str())
                            : dynf_property_create_json_string(n, value.toString().c_str()));
    }
    return list;
}

// The properties the helper builds for request in the form answer() reads (a JSON-string
// property as the JSON it holds); null when it builds no list.
inline JsonValue sent(IControlHelper& helper, CmdRequest& request) {
    List list(helper.getPropertyData(&request));
    if (list == nullptr) {
        return JsonValue();
    }
    JsonValue properties(JsonType::objectValue);
    for (const fakedynf::Property& property : fakedynf::describe(list.get())) {
        JsonValue& value = properties[property.name];
        switch (property.type) {
            case DYNF_PROPERTY_INT:
                value = property.intValue;
                break;
            case DYNF_PROPERTY_BOOL:
                value = property.boolValue;
                break;
            case DYNF_PROPERTY_JSON_STRING:
                value = JsonValue::Create(property.text);
                break;
            default:
                value = property.text;
                break;
        }
    }
    return properties;
}

// What a command records: no failure, or an error index and a result code.
struct Failure {
    int index;
    int code;
};
constexpr Failure kNone{-1, -1};
// A property missing from the answer, or not of its kind (framework error 2).
constexpr Failure kMissing{SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_UNKNOWN};
// A word the helper does not know, or a refused value (framework error 4).
constexpr Failure kInvalid{INVALID_PARAMS, DEVICE_MANAGER_ERROR_INVALID_OPERATION};
// A write to a method that only reads, or a read of one that only writes.
constexpr Failure kNotSupported{SERVER_ERROR_INVALID_OPERATION, DEVICE_MANAGER_ERROR_FAILED};
// A read whose answer cannot be used.
constexpr Failure kUnreadable{SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_FAILED};

inline void expectFailure(const CmdRequest& request, Failure failure) {
    EXPECT_EQ(failure.index >= 0, request.bJsonRpcError);
    if (failure.index >= 0) {
        EXPECT_EQ(failure.index, request.errorIndex);
        EXPECT_EQ(failure.code, request.resultCode);
    }
}

}  // namespace helpertest
