// Small readers of json-glib nodes.
#include "TvJson.h"

#include <json-glib/json-glib.h>

namespace ipc_tv {

GType valueType(JsonNode* node) {
    return node != nullptr && JSON_NODE_HOLDS_VALUE(node) ? json_node_get_value_type(node)
                                                          : G_TYPE_INVALID;
}

bool readInteger(JsonNode* node, long long min, long long max, long long& value) {
    if (valueType(node) != G_TYPE_INT64) {
        return false;
    }
    value = json_node_get_int(node);
    return value >= min && value <= max;
}

bool forEachMember(JsonNode* node, const std::function<bool(const char*, JsonNode*)>& visit) {
    if (node == nullptr || !JSON_NODE_HOLDS_OBJECT(node)) {
        return false;
    }
    JsonObjectIter iter;
    const char* name = nullptr;
    JsonNode* member = nullptr;
    json_object_iter_init(&iter, json_node_get_object(node));
    while (json_object_iter_next(&iter, &name, &member)) {
        if (!visit(name, member)) {
            return false;
        }
    }
    return true;
}

}  // namespace ipc_tv
