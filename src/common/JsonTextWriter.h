// JSON text of json-glib node trees: a compact printer of our own, and json-glib's generator.
#pragma once

#include <string>

typedef struct _JsonNode JsonNode;

// Every answer the service sends is printed here. Thread contract: any thread; the caller owns
// the tree and leaves it unchanged while it is printed.
namespace common::json::json_text {

// Appends the compact text of the tree under node to out: byte for byte what
// generated(node, false) gives, without a generator object and its string in between. A
// nullptr prints as null.
void append_compact(std::string& out, JsonNode* node);

// json-glib's generator, compact or indented, with its exponent form and its U+001F (left
// unescaped) repaired.
std::string generated(JsonNode* node, bool pretty);

}  // namespace common::json::json_text
