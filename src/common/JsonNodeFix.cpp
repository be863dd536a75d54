// Safe reset of a json-glib node before it is re-initialised in place.
#include "JsonNodeFix.h"

#include <json-glib/json-glib.h>

namespace common::json::bugfix {

bool clear_node(JsonNode* node) {
    switch (json_node_get_node_type(node)) {
        case JSON_NODE_OBJECT:
            // Releases the object once and empties the pointer, which json_node_init() would not.
            json_node_take_object(node, nullptr);
            break;
        case JSON_NODE_ARRAY:
            json_node_take_array(node, nullptr);
            break;
        case JSON_NODE_NULL:
            // Null nodes of our trees never carry a payload: they are fresh or went through here.
            return true;
        case JSON_NODE_VALUE:
            return false;
    }
    json_node_init_null(node);
    return true;
}

}  // namespace common::json::bugfix
