// KPI event log: one JSON object per line in <data dir>/kpi.log, kept to two bounded files.
#include "KPILogFramework.h"

#include <string>
#include <utility>

#include <json-glib/json-glib.h>

#include "PlatformObjects.h"
#include "RotatingFile.h"

namespace KPILogFramework {

namespace {

constexpr char kLogFileName[] = "kpi.log";
// kpi.log and kpi.log.1 each stay within this size.
constexpr long kRotateBytes = 1024 * 1024;

std::string utcNow() {
    GDateTime* now = g_date_time_new_now_utc();
    gchar* text = g_date_time_format_iso8601(now);
    std::string result = text != nullptr ? text : "";
    g_free(text);
    g_date_time_unref(now);
    return result;
}

// {"time":..,"kpiName":..,"eventName":..,"eventId":..,"description":..} and a newline.
std::string eventLine(const std::string& kpiName, const std::string& eventName,
                      const std::string& eventId, const std::string& description) {
    JsonBuilder* builder = json_builder_new();
    json_builder_begin_object(builder);
    const std::pair<const char*, std::string> members[] = {{"time", utcNow()},
                                                           {"kpiName", kpiName},
                                                           {"eventName", eventName},
                                                           {"eventId", eventId},
                                                           {"description", description}};
    for (const auto& [name, value] : members) {
        json_builder_set_member_name(builder, name);
        json_builder_add_string_value(builder, value.c_str());
    }
    json_builder_end_object(builder);
    JsonNode* root = json_builder_get_root(builder);
    gchar* text = json_to_string(root, FALSE);
    std::string line = std::string(text) + "\n";
    g_free(text);
    json_node_unref(root);
    g_object_unref(builder);
    return line;
}

// Appends and rotation of kpi.log within this process; the file stays open between events.
ipc_platform::RotatingFile& logFile() {
    // Never destroyed: events may still come from threads that outlive static destruction.
    static auto* file = new ipc_platform::RotatingFile(kRotateBytes);
    return *file;
}

}  // namespace

CLogger* CLogger::GetInstance() {
    if (ipc_platform::currentObjects() == nullptr) {
        return nullptr;
    }
    static CLogger logger;
    return &logger;
}

int CLogger::AddEventLogSync(const std::string& kpiName, const std::string& eventName,
                             const std::string& eventId, const std::string& description) {
    // The folder is taken per event, so a platform initialised again writes to its own folder.
    const auto objects = ipc_platform::currentObjects();
    if (objects == nullptr) {
        return 0;
    }
    gchar* path = g_build_filename(objects->options.dataDir.c_str(), kLogFileName, nullptr);
    const bool written =
        logFile().append(path, eventLine(kpiName, eventName, eventId, description));
    g_free(path);
    return written ? 1 : 0;
}

}  // namespace KPILogFramework
