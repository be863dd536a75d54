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

// Writes value as count decimal digits, zero-padded, at out.
void putDigits(char* out, int value, int count) {
    for (int i = count - 1; i >= 0; --i) {
        out[i] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
}

// ISO 8601 in UTC as GLib writes it: microseconds only when there are any, then "Z". The digits
// are put by hand: two snprintf calls cost a third of an event.
void appendUtcNow(std::string& out) {
    const gint64 now = g_get_real_time();
    const time_t seconds = static_cast<time_t>(now / G_USEC_PER_SEC);
    const int micros = static_cast<int>(now % G_USEC_PER_SEC);
    struct tm parts {};
    gmtime_r(&seconds, &parts);
    char text[] = "YYYY-MM-DDTHH:MM:SS.uuuuuuZ";
    putDigits(text, parts.tm_year + 1900, 4);
    putDigits(text + 5, parts.tm_mon + 1, 2);
    putDigits(text + 8, parts.tm_mday, 2);
    putDigits(text + 11, parts.tm_hour, 2);
    putDigits(text + 14, parts.tm_min, 2);
    putDigits(text + 17, parts.tm_sec, 2);
    if (micros != 0) {
        putDigits(text + 20, micros, 6);
        out.append(text, sizeof text - 1);
    } else {
        out.append(text, 19);
        out += 'Z';
    }
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
