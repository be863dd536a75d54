// JSON in and out of the admin API.
#include "AdminJson.h"

#include <json-glib/json-glib.h>

namespace ipc_platform {

void JsonNodeDeleter::operator()(JsonNode* node) const {
    json_node_unref(node);
}

std::string jsonText(const JsonNode* node) {
    if (node == nullptr) {
        return "null";
    }
    g_autofree gchar* text = json_to_string(const_cast<JsonNode*>(node), FALSE);
    return text != nullptr ? text : "null";
}

namespace {

// Whether a string of the text escapes a NUL character: json-glib would silently cut the
// string there.
bool escapesNul(const std::string& text) {
    for (size_t at = text.find("u0000"); at != std::string::npos; at = text.find("u0000", at + 1)) {
        size_t backslashes = 0;
        while (backslashes < at && text[at - 1 - backslashes] == '\\') {
            ++backslashes;
        }
        if (backslashes % 2 == 1) {
            return true;
        }
    }
    return false;
}

}  // namespace

JsonNodePtr parseJsonText(const std::string& text, std::string& error) {
    if (escapesNul(text)) {
        error = "a string holds a NUL character (\\u0000)";
        return nullptr;
    }
    g_autoptr(JsonParser) parser = json_parser_new_immutable();
    g_autoptr(GError) failure = nullptr;
    if (!json_parser_load_from_data(parser, text.data(), static_cast<gssize>(text.size()),
                                    &failure)) {
        error = failure != nullptr ? failure->message : "not JSON";
        return nullptr;
    }
    JsonNode* root = json_parser_get_root(parser);
    return JsonNodePtr(root != nullptr ? json_node_ref(root) : nullptr);
}

JsonNodePtr jsonString(const std::string& text) {
    JsonNode* node = json_node_new(JSON_NODE_VALUE);
    json_node_set_string(node, text.c_str());
    return JsonNodePtr(node);
}

JsonNodePtr jsonInt(long long value) {
    JsonNode* node = json_node_new(JSON_NODE_VALUE);
    json_node_set_int(node, value);
    return JsonNodePtr(node);
}

AdminReply AdminReply::json(JsonNodePtr body, unsigned int status) {
    AdminReply reply;
    reply.status = status;
    reply.body = std::move(body);
    return reply;
}

AdminReply AdminReply::error(unsigned int status, const std::string& message) {
    JsonObject* object = json_object_new();
    json_object_set_string_member(object, "error", message.c_str());
    JsonNode* node = json_node_new(JSON_NODE_OBJECT);
    json_node_take_object(node, object);
    return json(JsonNodePtr(node), status);
}

}  // namespace ipc_platform
