// KPI event log: one JSON object per line in <data dir>/kpi.log, kept to two bounded files.
#include "KPILogFramework.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <mutex>
#include <string>
#include <utility>

#include <json-glib/json-glib.h>

#include "PlatformLog.h"
#include "PlatformObjects.h"
#include "dlog.h"

namespace KPILogFramework {

namespace {

constexpr char kLogFileName[] = "kpi.log";
// When the next line would take kpi.log past this size, it becomes kpi.log.1 (replacing the
// previous one) and a new kpi.log is started.
constexpr off_t kRotateBytes = 1024 * 1024;

// Serialises appends to kpi.log and its rotation within this process.
std::mutex g_fileMutex;

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

void logFileError(const char* action, const std::string& path, int error) {
    dlog_print(DLOG_ERROR, ipc_platform::kLogTag, "KPI log: cannot %s %s: %s", action, path.c_str(),
               strerror(error));
}

// Moves path to path.1 when adding bytes would take it past the bound. False when the move
// failed; the line then still goes to the full file.
bool rotateIfFull(const std::string& path, size_t bytes) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0 || info.st_size == 0 ||
        info.st_size + static_cast<off_t>(bytes) <= kRotateBytes) {
        return true;
    }
    const std::string rotated = path + ".1";
    if (rename(path.c_str(), rotated.c_str()) != 0) {
        logFileError("rotate", path, errno);
        return false;
    }
    return true;
}

bool appendLine(const std::string& path, const std::string& line) {
    std::lock_guard<std::mutex> lock(g_fileMutex);
    rotateIfFull(path, line.size());
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0) {
        logFileError("open", path, errno);
        return false;
    }
    size_t done = 0;
    while (done < line.size()) {
        ssize_t n = write(fd, line.data() + done, line.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            logFileError("write", path, n < 0 ? errno : EIO);
            close(fd);
            return false;
        }
        done += static_cast<size_t>(n);
    }
    close(fd);
    return true;
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
    const bool written = appendLine(path, eventLine(kpiName, eventName, eventId, description));
    g_free(path);
    return written ? 1 : 0;
}

}  // namespace KPILogFramework
