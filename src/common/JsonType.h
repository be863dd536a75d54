// The kinds of JSON value, numbered as the rest of the service stores and compares them.
#pragma once

namespace common::json {

// Kind of a JSON value. The numbers are fixed: other components keep them in tables.
enum class JsonType : int {
    nullValue = 0,
    boolValue = 1,
    intValue = 2,  // 64-bit signed
    doubleValue = 3,
    stringValue = 4,
    objectValue = 5,
    arrayValue = 6,
};

}  // namespace common::json
