// JSON in and out of the admin API: owned json-glib nodes, requests and replies of routes.
#pragma once

#include <map>
#include <memory>
#include <string>

typedef struct _JsonNode JsonNode;

namespace ipc_platform {

// Thread-safe: the functions share nothing; a node, request or reply is used by one thread at a
// time.
struct JsonNodeDeleter {
    void operator()(JsonNode* node) const;
};
// An owned json-glib node.
using JsonNodePtr = std::unique_ptr<JsonNode, JsonNodeDeleter>;

// Compact one-line text of node; "null" for a null pointer.
std::string jsonText(const JsonNode* node);
// The value in text. Null for text that holds no value (empty or blank) or does not parse; in
// the latter case error says why. A string holding "\u0000" does not parse: it would be cut.
JsonNodePtr parseJsonText(const std::string& text, std::string& error);
JsonNodePtr jsonString(const std::string& text);
JsonNodePtr jsonInt(long long value);

// One request to an admin route. The body has been parsed already: a body that is not JSON
// never reaches a route.
struct AdminRequest {
    std::string method;
    std::string path;
    std::string param;  // the last segment when the route's pattern ends in "/*"
    JsonNodePtr body;   // null when the request had no body
    std::map<std::string, std::string> query;  // the URL's arguments (?name=value), decoded
};

// A route's answer: a status and a JSON body.
struct AdminReply {
    unsigned int status = 200;
    JsonNodePtr body;

    static AdminReply json(JsonNodePtr body, unsigned int status = 200);
    // {"error": message}
    static AdminReply error(unsigned int status, const std::string& message);
};

}  // namespace ipc_platform
