// libxml2's messages as debug lines of the platform log, a bounded number per minute.
#include "UcfXmlLog.h"

#include "dlog.h"

#include <glib.h>

#include <mutex>
#include <string>

namespace ucf {
namespace {

constexpr char kTag[] = "libxml2";
constexpr gint64 kWindowUs = 60 * G_USEC_PER_SEC;
constexpr size_t kMaxMessageBytes = 160;

// Protects the counting window below; parsers on any thread may report.
std::mutex g_windowMutex;
gint64 g_windowStart = 0;
int g_loggedInWindow = 0;
int g_dropped = 0;

// The message as one short line: what a body sent may show up in it (names, text), so control
// characters become '?' and the length is capped.
std::string printable(const char* message) {
    std::string line = message != nullptr ? message : "";
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) {
        line.pop_back();
    }
    if (line.size() > kMaxMessageBytes) {
        line.resize(kMaxMessageBytes);
        line += "...";
    }
    for (char& c : line) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
            c = '?';
        }
    }
    return line;
}

}  // namespace

void logXmlMessage(void*, xmlErrorPtr error) {
    if (error == nullptr) {
        return;
    }
    int dropped = 0;
    {
        std::lock_guard<std::mutex> lock(g_windowMutex);
        const gint64 now = g_get_monotonic_time();
        if (g_windowStart == 0 || now - g_windowStart >= kWindowUs) {
            g_windowStart = now;
            g_loggedInWindow = 0;
            dropped = g_dropped;
            g_dropped = 0;
        }
        if (g_loggedInWindow >= kXmlMessagesPerMinute) {
            ++g_dropped;
            return;
        }
        ++g_loggedInWindow;
    }
    if (dropped > 0) {
        dlog_print(DLOG_DEBUG, kTag, "%d messages dropped in the last minute", dropped);
    }
    dlog_print(DLOG_DEBUG, kTag, "line %d: %s", error->line, printable(error->message).c_str());
}

void routeXmlMessages() {
    xmlSetStructuredErrorFunc(nullptr, logXmlMessage);
}

void unrouteXmlMessages() {
    xmlSetStructuredErrorFunc(nullptr, nullptr);
}

}  // namespace ucf
