// One-pass reader of the plain JSON texts that requests are made of.
#pragma once

#include <string>
#include <string_view>

typedef struct _JsonNode JsonNode;

namespace common::json {

// Builds json-glib's node tree while it checks the syntax, for the texts requests are made of:
// an object or array of objects, arrays, strings without escapes, true, false, null and integers
// of at most 18 digits. The tree is the one json-glib's parser makes of the same text (node and
// value types, member order, a repeated member name keeping its first place and its last value,
// parent pointers, mutable nodes), at a fraction of the cost. Any other text, well-formed or
// not, is left to the caller's full parse: read() gives up on it and drops what it built.
// Any thread; one text at a time per instance (the instance keeps a scratch copy of the text).
class PlainJsonReader {
public:
    // The tree of text with one reference owned by the caller, or nullptr when text is beyond
    // this reader (a scalar alone, an escape, a fraction or exponent, a long integer, nesting
    // past kMaxDepth) or is not well-formed UTF-8 JSON.
    JsonNode* read(std::string_view text);

private:
    // Requests nest a few levels; deeper text goes to the full parse, which allows 512.
    static constexpr int kMaxDepth = 64;
    static constexpr int kMaxDigits = 18;  // any 18-digit number fits in an int64

    void _blanks();
    JsonNode* _value(int depth);
    // An object ('}') or array (']') at its opening bracket, depth levels down.
    JsonNode* _container(int depth, char close);
    bool _member(JsonNode* object, int depth);  // adds "name": value to object
    bool _element(JsonNode* array, int depth);  // adds a value to array
    const char* _string();
    JsonNode* _integer();
    bool _word(std::string_view word);

    // The text with every string's closing quote turned into a NUL, so that strings and member
    // names are handed to json-glib where they lie.
    std::string m_text;
    size_t m_at = 0;
};

}  // namespace common::json
