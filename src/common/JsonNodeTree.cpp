// Operations on json-glib node trees: kinds, copies, and finding or swapping a node in its tree.
#include "JsonNodeTree.h"

#include <json-glib/json-glib.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace common::json::node_tree {

namespace {

JsonNode* new_container(JsonType type) {
    JsonNode* node;
    if (type == JsonType::objectValue) {
        node = json_node_new(JSON_NODE_OBJECT);
        json_node_take_object(node, json_object_new());
    } else {
        node = json_node_new(JSON_NODE_ARRAY);
        json_node_take_array(node, json_array_new());
    }
    return node;
}

void for_each_child(JsonNode* node, const std::function<void(JsonNode*)>& visit) {
    if (JsonObject* object = object_of(node)) {
        GList* values = json_object_get_values(object);
        for (GList* l = values; l != nullptr; l = l->next) {
            visit(static_cast<JsonNode*>(l->data));
        }
        g_list_free(values);
    } else if (JsonArray* array = array_of(node)) {
        const guint length = json_array_get_length(array);
        for (guint i = 0; i < length; ++i) {
            visit(json_array_get_element(array, i));
        }
    }
}

}  // namespace

JsonNode* new_null() {
    return json_node_new(JSON_NODE_NULL);
}

bool is_scalar(JsonNode* node) {
    return json_node_get_node_type(node) == JSON_NODE_VALUE;
}

JsonObject* object_of(JsonNode* node) {
    return json_node_get_node_type(node) == JSON_NODE_OBJECT ? json_node_get_object(node) : nullptr;
}

JsonArray* array_of(JsonNode* node) {
    return json_node_get_node_type(node) == JSON_NODE_ARRAY ? json_node_get_array(node) : nullptr;
}

JsonType kind_of(JsonNode* node) {
    switch (json_node_get_node_type(node)) {
        case JSON_NODE_OBJECT:
            return JsonType::objectValue;
        case JSON_NODE_ARRAY:
            return JsonType::arrayValue;
        case JSON_NODE_NULL:
            return JsonType::nullValue;
        case JSON_NODE_VALUE:
            break;
    }
    const GType type = json_node_get_value_type(node);
    if (type == G_TYPE_BOOLEAN) {
        return JsonType::boolValue;
    }
    if (type == G_TYPE_INT64) {
        return JsonType::intValue;
    }
    if (type == G_TYPE_DOUBLE) {
        return JsonType::doubleValue;
    }
    if (type == G_TYPE_STRING) {
        return JsonType::stringValue;
    }
    return JsonType::nullValue;
}

void assign_scalar(JsonNode* dst, JsonNode* src) {
    if (json_node_get_node_type(dst) == JSON_NODE_NULL) {
        json_node_init(dst, JSON_NODE_VALUE);
    }
    switch (kind_of(src)) {
        case JsonType::boolValue:
            json_node_set_boolean(dst, json_node_get_boolean(src));
            break;
        case JsonType::intValue:
            json_node_set_int(dst, json_node_get_int(src));
            break;
        case JsonType::doubleValue:
            json_node_set_double(dst, json_node_get_double(src));
            break;
        default:
            json_node_set_string(dst, json_node_get_string(src));
            break;
    }
}

JsonNode* new_empty(JsonType type) {
    switch (type) {
        case JsonType::boolValue:
            return json_node_init_boolean(json_node_alloc(), FALSE);
        case JsonType::intValue:
            return json_node_init_int(json_node_alloc(), 0);
        case JsonType::doubleValue:
            return json_node_init_double(json_node_alloc(), 0.0);
        case JsonType::stringValue:
            return json_node_init_string(json_node_alloc(), "");
        case JsonType::objectValue:
        case JsonType::arrayValue:
            return new_container(type);
        default:
            return new_null();
    }
}

bool holds_unprintable(JsonNode* node) {
    switch (kind_of(node)) {
        case JsonType::doubleValue:
            return !std::isfinite(json_node_get_double(node));
        case JsonType::stringValue:
            return !g_utf8_validate(json_node_get_string(node), -1, nullptr);
        case JsonType::objectValue: {
            JsonObject* object = json_node_get_object(node);
            GList* names = json_object_get_members(object);
            bool found = false;
            for (GList* item = names; item != nullptr && !found; item = item->next) {
                const char* name = static_cast<const char*>(item->data);
                found = !g_utf8_validate(name, -1, nullptr) ||
                        holds_unprintable(json_object_get_member(object, name));
            }
            g_list_free(names);
            return found;
        }
        case JsonType::arrayValue: {
            JsonArray* array = json_node_get_array(node);
            const guint length = json_array_get_length(array);
            for (guint i = 0; i < length; ++i) {
                if (holds_unprintable(json_array_get_element(array, i))) {
                    return true;
                }
            }
            return false;
        }
        default:
            return false;
    }
}

JsonNode* deep_copy(JsonNode* node) {
    switch (kind_of(node)) {
        case JsonType::objectValue: {
            JsonNode* copy = new_container(JsonType::objectValue);
            JsonObject* target = json_node_get_object(copy);
            JsonObject* source = json_node_get_object(node);
            GList* names = json_object_get_members(source);
            for (GList* l = names; l != nullptr; l = l->next) {
                const char* name = static_cast<const char*>(l->data);
                json_object_set_member(target, name,
                                       deep_copy(json_object_get_member(source, name)));
            }
            g_list_free(names);
            return copy;
        }
        case JsonType::arrayValue: {
            JsonNode* copy = new_container(JsonType::arrayValue);
            JsonArray* target = json_node_get_array(copy);
            for_each_child(node, [target](JsonNode* element) {
                json_array_add_element(target, deep_copy(element));
            });
            return copy;
        }
        case JsonType::nullValue:
            return new_null();
        default: {
            JsonNode* copy = new_null();
            assign_scalar(copy, node);
            return copy;
        }
    }
}

JsonNode* find_container(JsonNode* from, JsonNode* target) {
    std::vector<JsonNode*> pending{from};
    JsonNode* container = nullptr;
    while (!pending.empty() && container == nullptr) {
        JsonNode* node = pending.back();
        pending.pop_back();
        for_each_child(node, [&](JsonNode* child) {
            if (child == target) {
                container = node;
            }
            pending.push_back(child);
        });
    }
    return container;
}

bool encloses(JsonNode* from, JsonNode* target) {
    return from == target || find_container(from, target) != nullptr;
}

void substitute(JsonNode* container, JsonNode* old, JsonNode* fresh) {
    if (JsonObject* object = object_of(container)) {
        GList* names = json_object_get_members(object);
        std::string name;
        for (GList* l = names; l != nullptr; l = l->next) {
            const char* candidate = static_cast<const char*>(l->data);
            if (json_object_get_member(object, candidate) == old) {
                name = candidate;
                break;
            }
        }
        g_list_free(names);
        json_object_set_member(object, name.c_str(), fresh);
        return;
    }
    // json-glib has no call to replace one element, so the array is rebuilt around it.
    JsonArray* array = json_node_get_array(container);
    JsonArray* rebuilt = json_array_sized_new(json_array_get_length(array));
    for_each_child(container, [&](JsonNode* element) {
        json_array_add_element(rebuilt, element == old ? fresh : json_node_ref(element));
    });
    json_node_take_array(container, rebuilt);
}

}  // namespace common::json::node_tree
