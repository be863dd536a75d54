// The paired clients as the admin API shows them, read from the plug-in's auth list file.
#include "ClientList.h"

#include <json-glib/json-glib.h>

namespace ipc_platform {

namespace {

constexpr size_t kShownTokenLength = 6;

std::string stringMember(JsonObject* object, const char* name) {
    JsonNode* member = json_object_get_member(object, name);
    if (member == nullptr || json_node_get_value_type(member) != G_TYPE_STRING) {
        return std::string();
    }
    return json_node_get_string(member);
}

// A cut at a character boundary, so that the text stays UTF-8.
std::string shortenedToken(const std::string& token) {
    if (token.empty()) {
        return token;
    }
    const gchar* end = token.c_str();
    for (size_t i = 0; i < kShownTokenLength && *end != '\0'; ++i) {
        end = g_utf8_find_next_char(end, nullptr);
    }
    return token.substr(0, static_cast<size_t>(end - token.c_str())) + "\u2026";
}

JsonNode* clientRecord(JsonObject* record) {
    JsonObject* shown = json_object_new();
    json_object_set_string_member(shown, "MacAddr", stringMember(record, "MacAddr").c_str());
    JsonNode* accessClass = json_object_get_member(record, "AccessClass");
    json_object_set_int_member(
        shown, "AccessClass",
        accessClass != nullptr && json_node_get_value_type(accessClass) == G_TYPE_INT64
            ? json_node_get_int(accessClass)
            : 0);
    json_object_set_string_member(shown, "AccessToken",
                                  shortenedToken(stringMember(record, "AccessToken")).c_str());
    JsonNode* node = json_node_new(JSON_NODE_OBJECT);
    json_node_take_object(node, shown);
    return node;
}

}  // namespace

JsonNodePtr readClientList(const std::string& authListPath) {
    JsonArray* clients = json_array_new();
    g_autofree gchar* text = nullptr;
    gsize length = 0;
    g_autoptr(JsonParser) parser = json_parser_new();
    if (g_file_get_contents(authListPath.c_str(), &text, &length, nullptr) &&
        g_utf8_validate(text, static_cast<gssize>(length), nullptr) &&
        json_parser_load_from_data(parser, text, static_cast<gssize>(length), nullptr) &&
        json_parser_get_root(parser) != nullptr &&
        JSON_NODE_HOLDS_ARRAY(json_parser_get_root(parser))) {
        JsonArray* records = json_node_get_array(json_parser_get_root(parser));
        for (guint i = 0; i < json_array_get_length(records); ++i) {
            JsonNode* element = json_array_get_element(records, i);
            if (JSON_NODE_HOLDS_OBJECT(element)) {
                json_array_add_element(clients, clientRecord(json_node_get_object(element)));
            }
        }
    }
    JsonNode* node = json_node_new(JSON_NODE_ARRAY);
    json_node_take_array(node, clients);
    return JsonNodePtr(node);
}

}  // namespace ipc_platform
