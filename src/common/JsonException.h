// The one exception type of the JSON value classes.
#pragma once

#include <stdexcept>

namespace common::json {

// Thrown on misuse of a JSON value (wrong kind, value out of range); the text says which.
// Never thrown for malformed JSON text: parsing gives a null value instead.
// Thread-safe (immutable once thrown).
class JsonException : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace common::json
