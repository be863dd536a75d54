// Fuzz target: the one-pass PlainJsonReader against json-glib's parser, node for node.
#include <json-glib/json-glib.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "FuzzSupport.h"
#include "JsonNodeTree.h"
#include "PlainJsonReader.h"
#include "JsonSyntaxCheck.h"

using common::json::JsonSyntaxCheck;
using common::json::PlainJsonReader;

namespace {

[[noreturn]] void differ(const char* what, const std::string& text) {
    fprintf(stderr, "reader and json-glib differ (%s) on: %s\n", what, text.c_str());
    abort();
}

// Empty when the trees are the same: node and value types, exact values, member names in order,
// parent links and mutability; otherwise what differs.
const char* difference(JsonNode* fast, JsonNode* fastParent, JsonNode* full, JsonNode* fullParent) {
    if (json_node_get_parent(fast) != fastParent || json_node_get_parent(full) != fullParent) {
        return "parent";
    }
    if (json_node_get_node_type(fast) != json_node_get_node_type(full) ||
        json_node_is_immutable(fast) != json_node_is_immutable(full)) {
        return "node type";
    }
    switch (json_node_get_node_type(fast)) {
        case JSON_NODE_NULL:
            return "";
        case JSON_NODE_VALUE: {
            const GType type = json_node_get_value_type(fast);
            if (type != json_node_get_value_type(full)) {
                return "value type";
            }
            bool same = false;
            if (type == G_TYPE_INT64) {
                same = json_node_get_int(fast) == json_node_get_int(full);
            } else if (type == G_TYPE_BOOLEAN) {
                same = json_node_get_boolean(fast) == json_node_get_boolean(full);
            } else if (type == G_TYPE_STRING) {
                same = strcmp(json_node_get_string(fast), json_node_get_string(full)) == 0;
            } else if (type == G_TYPE_DOUBLE) {
                const double a = json_node_get_double(fast);
                const double b = json_node_get_double(full);
                // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): bit for bit, so -0 != 0
                same = memcmp(&a, &b, sizeof a) == 0;
            }
            return same ? "" : "value";
        }
        case JSON_NODE_ARRAY: {
            JsonArray* a = json_node_get_array(fast);
            JsonArray* b = json_node_get_array(full);
            if (json_array_get_length(a) != json_array_get_length(b) ||
                json_array_is_immutable(a) != json_array_is_immutable(b)) {
                return "array";
            }
            for (guint i = 0; i < json_array_get_length(a); ++i) {
                const char* found = difference(json_array_get_element(a, i), fast,
                                               json_array_get_element(b, i), full);
                if (*found != '\0') {
                    return found;
                }
            }
            return "";
        }
        case JSON_NODE_OBJECT: {
            JsonObject* a = json_node_get_object(fast);
            JsonObject* b = json_node_get_object(full);
            if (json_object_get_size(a) != json_object_get_size(b) ||
                json_object_is_immutable(a) != json_object_is_immutable(b)) {
                return "object";
            }
            GList* namesA = json_object_get_members(a);
            GList* namesB = json_object_get_members(b);
            bool sameNames = g_list_length(namesA) == g_list_length(namesB);
            for (GList *x = namesA, *y = namesB; sameNames && x != nullptr;
                 x = x->next, y = y->next) {
                sameNames = strcmp(static_cast<const char*>(x->data),
                                   static_cast<const char*>(y->data)) == 0;
            }
            g_list_free(namesA);
            g_list_free(namesB);
            if (!sameNames) {
                return "member names";
            }
            JsonObjectIter iterA;
            JsonObjectIter iterB;
            json_object_iter_init_ordered(&iterA, a);
            json_object_iter_init_ordered(&iterB, b);
            const char* nameA = nullptr;
            const char* nameB = nullptr;
            JsonNode* memberA = nullptr;
            JsonNode* memberB = nullptr;
            while (json_object_iter_next_ordered(&iterA, &nameA, &memberA)) {
                if (!json_object_iter_next_ordered(&iterB, &nameB, &memberB) ||
                    strcmp(nameA, nameB) != 0) {
                    return "member order";
                }
                const char* found = difference(memberA, fast, memberB, full);
                if (*found != '\0') {
                    return found;
                }
            }
            return json_object_iter_next_ordered(&iterB, &nameB, &memberB) ? "member order" : "";
        }
    }
    return "node type";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string_view view(text.c_str());  // as JsonValue::Create reads it
    static PlainJsonReader reader;
    JsonNode* fast = reader.read(view);
    if (fast == nullptr) {
        return 0;
    }
    // Text the reader takes must be text the full path takes too.
    if (!g_utf8_validate(view.data(), static_cast<gssize>(view.size()), nullptr) ||
        !JsonSyntaxCheck(view).wellFormed()) {
        differ("malformed text read", text);
    }
    static JsonParser* parser = json_parser_new();
    GError* error = nullptr;
    if (!json_parser_load_from_data(parser, text.c_str(), -1, &error)) {
        differ(error->message, text);
    }
    JsonNode* full = json_parser_steal_root(parser);
    if (full == nullptr) {
        differ("no tree from json-glib", text);
    }
    // The request path skips this check for the reader's trees.
    if (common::json::node_tree::holds_unprintable(fast)) {
        differ("unprintable value read", text);
    }
    const char* found = difference(fast, nullptr, full, nullptr);
    if (*found != '\0') {
        differ(found, text);
    }
    json_node_unref(fast);
    json_node_unref(full);
    return 0;
}
