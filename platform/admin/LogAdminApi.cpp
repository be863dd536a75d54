// The log's part of the admin API: the recent log lines, filtered by level.
#include "LogAdminApi.h"

#include <glib.h>
#include <json-glib/json-glib.h>
#include <microhttpd.h>

#include "AdminServer.h"
#include "Utf8Text.h"
#include "RecentLines.h"
#include "dlog.h"

namespace ipc_platform {

namespace {

struct LevelName {
    const char* name;
    int priority;
};
constexpr LevelName kLevels[] = {
    {"debug", DLOG_DEBUG},
    {"info", DLOG_INFO},
    {"warn", DLOG_WARN},
    {"error", DLOG_ERROR},
};

const char* levelName(int priority) {
    for (const LevelName& level : kLevels) {
        if (level.priority == priority) {
            return level.name;
        }
    }
    return priority > DLOG_ERROR ? "error" : "debug";
}

AdminReply recentLines(const AdminRequest& request) {
    int minPriority = DLOG_INFO;
    const auto level = request.query.find("level");
    if (level != request.query.end()) {
        minPriority = -1;
        for (const LevelName& known : kLevels) {
            if (level->second == known.name) {
                minPriority = known.priority;
            }
        }
        if (minPriority < 0) {
            return AdminReply::error(MHD_HTTP_BAD_REQUEST, "unknown level '" + level->second +
                                                               "' (debug, info, warn or error)");
        }
    }
    JsonArray* lines = json_array_new();
    for (const RecentLines::Entry& entry : processRecentLines().lines(minPriority)) {
        JsonObject* line = json_object_new();
        json_object_set_int_member(line, "seq", static_cast<gint64>(entry.sequence));
        json_object_set_int_member(line, "time", entry.timeUs / 1000);
        json_object_set_string_member(line, "level", levelName(entry.priority));
        json_object_set_string_member(line, "tag", validUtf8(entry.tag).c_str());
        json_object_set_string_member(line, "text", validUtf8(entry.text).c_str());
        json_array_add_object_element(lines, line);
    }
    JsonObject* answer = json_object_new();
    json_object_set_array_member(answer, "lines", lines);
    JsonNode* node = json_node_new(JSON_NODE_OBJECT);
    json_node_take_object(node, answer);
    return AdminReply::json(JsonNodePtr(node));
}

}  // namespace

void addLogAdminApi(AdminServer& server) {
    server.addStateSection("log", [] {
        JsonObject* log = json_object_new();
        json_object_set_int_member(log, "last",
                                   static_cast<gint64>(processRecentLines().lastSequence()));
        JsonNode* node = json_node_new(JSON_NODE_OBJECT);
        json_node_take_object(node, log);
        return JsonNodePtr(node);
    });
    server.addRoute(MHD_HTTP_METHOD_GET, "/api/log", recentLines);
    // Called by the log's writing thread after each batch; the event streams space the states
    // they send, so a busy log costs them no more than a busy request log.
    processRecentLines().setListener(server.publisher());
}

}  // namespace ipc_platform
