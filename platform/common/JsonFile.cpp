// Reading of the platform's JSON files with json-glib.
#include "JsonFile.h"

#include "FileError.h"

#include <json-glib/json-glib.h>

namespace ipc_platform {

JsonParser* parseJsonObjectFile(const std::string& path, std::string& error) {
    JsonParser* parser = json_parser_new();
    GError* gerror = nullptr;
    if (!json_parser_load_from_file(parser, path.c_str(), &gerror)) {
        error = fileError(path, gerror->message);
        g_error_free(gerror);
        g_object_unref(parser);
        return nullptr;
    }
    JsonNode* root = json_parser_get_root(parser);
    if (root == nullptr || !JSON_NODE_HOLDS_OBJECT(root)) {
        error = path + ": the top level is not a JSON object";
        g_object_unref(parser);
        return nullptr;
    }
    return parser;
}

}  // namespace ipc_platform
