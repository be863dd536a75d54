// Operations on json-glib node trees: kinds, copies, and finding or swapping a node in its tree.
#pragma once

#include "JsonType.h"

typedef struct _JsonNode JsonNode;
typedef struct _JsonObject JsonObject;
typedef struct _JsonArray JsonArray;

// The node-level work beneath SharedJson. New nodes are returned with one reference, owned by the
// caller. Thread contract: the caller owns the trees it passes.
namespace common::json::node_tree {

JsonType kind_of(JsonNode* node);
bool is_scalar(JsonNode* node);
JsonObject* object_of(JsonNode* node);  // nullptr unless an object node
JsonArray* array_of(JsonNode* node);    // nullptr unless an array node

JsonNode* new_null();
JsonNode* new_empty(JsonType type);  // null, false, 0, 0.0, "", {} or []
JsonNode* deep_copy(JsonNode* node);
// True when the tree holds what JSON text cannot carry: a number that is infinite or not a
// number (json-glib reads 1e999 as infinity), or a string or member name that is not UTF-8
// (json-glib lets a lone surrogate escape such as "\udc00" through). Either would be printed as
// text that no JSON reader takes back.
bool holds_unprintable(JsonNode* node);

// Gives dst, a scalar node or an empty null node, a copy of the scalar in src. The payload is
// copied, never shared: json-glib rewrites a scalar payload in place on every set.
void assign_scalar(JsonNode* dst, JsonNode* src);

// The object or array node within from's subtree that holds target, or nullptr.
JsonNode* find_container(JsonNode* from, JsonNode* target);
bool encloses(JsonNode* from, JsonNode* target);  // target is from or lies beneath it

// Puts fresh where old is in container, which releases old.
void substitute(JsonNode* container, JsonNode* old, JsonNode* fresh);

}  // namespace common::json::node_tree
