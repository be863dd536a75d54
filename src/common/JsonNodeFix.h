// Safe reset of a json-glib node before it is re-initialised in place.
#pragma once

typedef struct _JsonNode JsonNode;

namespace common::json::bugfix {

// json-glib 1.6 releases a node's payload on json_node_init() but leaves the pointer to it in the
// node, so the next json_node_set_*() or json_node_init_*() releases or reuses it a second time.
// clear_node() releases the payload of an object, array or null node exactly once and leaves an
// empty null node that any json_node_init_*() can safely fill. It must run before every in-place
// re-initialisation of such a node.
// Returns false, and leaves the node untouched, for a scalar node: json-glib has no public call
// that empties a scalar's payload, so a scalar node is only ever given another scalar through
// json_node_set_*() or replaced by a fresh node (see SharedJson).
// Thread contract: the caller owns the node's tree.
bool clear_node(JsonNode* node);

}  // namespace common::json::bugfix
