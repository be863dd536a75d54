// KPI event log: one JSON object per line in <data dir>/kpi.log, kept to two bounded files.
#include "KPILogFramework.h"

#include <cstdio>
#include <ctime>
#include <string>
#include <utility>

#include <glib.h>

#include "PlatformObjects.h"
#include "AppendedFile.h"

namespace KPILogFramework {

namespace {

constexpr char kLogFileName[] = "kpi.log";

// ISO 8601 in UTC as GLib writes it: microseconds only when there are any, then "Z".
void appendUtcNow(std::string& out) {
    const gint64 now = g_get_real_time();
    const time_t seconds = static_cast<time_t>(now / G_USEC_PER_SEC);
    const int micros = static_cast<int>(now % G_USEC_PER_SEC);
    struct tm parts {};
    gmtime_r(&seconds, &parts);
    char text[40];
    int length =
        snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", parts.tm_year + 1900,
                 parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
    if (micros != 0) {
        length += snprintf(text + length, sizeof text - length, ".%06d", micros);
    }
    out.append(text, length);
    out += 'Z';
}

// A JSON string; control characters escaped as json-glib escapes them (and U+001F, which it
// drops), other bytes as they are.
void appendJsonString(std::string& out, const std::string& value) {
    out += '"';
    for (const char c : value) {
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\b':
                out += "\\b";
                break;
            case '\f':
                out += "\\f";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if ((c >= 0 && c < 0x20) || c == 0x7f) {
                    char escaped[8];
                    snprintf(escaped, sizeof escaped, "\\u%04x", c);
                    out += escaped;
                } else {
                    out += c;
                }
        }
    }
    out += '"';
}

// {"time":..,"kpiName":..,"eventName":..,"eventId":..,"description":..}. Written
// by hand: an event per command, and a JSON builder costs ten times as much.
std::string eventLine(const std::string& kpiName, const std::string& eventName,
                      const std::string& eventId, const std::string& description) {
    std::string line;
    line.reserve(96 + kpiName.size() + eventName.size() + eventId.size() + description.size());
    line += "{\"time\":\"";
    appendUtcNow(line);
    const std::pair<const char*, const std::string*> members[] = {{"kpiName", &kpiName},
                                                                  {"eventName", &eventName},
                                                                  {"eventId", &eventId},
                                                                  {"description", &description}};
    line += '"';
    for (const auto& [name, value] : members) {
        line += ",\"";
        line += name;
        line += "\":";
        appendJsonString(line, *value);
    }
    line += '}';
    return line;
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
    // Written by the log's thread, with the other events of the moment: a command does not wait
    // for the file.
    const bool written =
        ipc_platform::appendFileLine(path, eventLine(kpiName, eventName, eventId, description));
    g_free(path);
    return written ? 1 : 0;
}

}  // namespace KPILogFramework
