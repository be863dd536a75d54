// Platform log: formats one line and hands it to the sink or to stderr in a single write.
#include "dlog.h"

#include <glib.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string>
#include <sys/time.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::atomic<int> g_minPriority{DLOG_INFO};

// Protects the sink and its user data.
std::mutex g_sinkMutex;
dlog_sink_cb g_sink = nullptr;
void* g_sinkUserData = nullptr;

char levelLetter(log_priority prio) {
    switch (prio) {
        case DLOG_DEBUG:
            return 'D';
        case DLOG_INFO:
            return 'I';
        case DLOG_WARN:
            return 'W';
        case DLOG_ERROR:
            return 'E';
        default:
            return '?';
    }
}

// Under systemd stderr is a stream into the journal ($JOURNAL_STREAM names it): lines then carry
// the syslog level as a "<N>" prefix instead of a time, which the journal records itself.
bool stderrIsJournal() {
    static const bool journal = [] {
        const char* stream = getenv("JOURNAL_STREAM");
        struct stat status {};
        unsigned long device = 0;
        unsigned long inode = 0;
        return stream != nullptr && sscanf(stream, "%lu:%lu", &device, &inode) == 2 &&
               fstat(STDERR_FILENO, &status) == 0 && status.st_dev == device &&
               status.st_ino == inode;
    }();
    return journal;
}

int syslogLevel(log_priority prio) {
    switch (prio) {
        case DLOG_DEBUG:
            return 7;
        case DLOG_INFO:
            return 6;
        case DLOG_WARN:
            return 4;
        default:
            return 3;
    }
}

void writeToStderr(log_priority prio, const char* tag, const std::string& message) {
    char head[96];
    if (stderrIsJournal()) {
        snprintf(head, sizeof(head), "<%d>%s: ", syslogLevel(prio), tag);
    } else {
        timeval tv{};
        gettimeofday(&tv, nullptr);
        tm local{};
        localtime_r(&tv.tv_sec, &local);
        char stamp[32];
        strftime(stamp, sizeof(stamp), "%H:%M:%S", &local);
        snprintf(head, sizeof(head), "%s.%03ld %c %s: ", stamp,
                 static_cast<long>(tv.tv_usec / 1000), levelLetter(prio), tag);
    }
    std::string line;
    line.reserve(message.size() + 64);
    line += head;
    line += message;
    line += '\n';
    // One write per line keeps lines of different threads apart.
    ssize_t ignored = write(STDERR_FILENO, line.data(), line.size());
    (void)ignored;
}

GLogWriterOutput writeGlibMessage(GLogLevelFlags level, const GLogField* fields, gsize count,
                                  gpointer) {
    const char* domain = nullptr;
    const char* message = nullptr;
    for (gsize i = 0; i < count; ++i) {
        if (g_strcmp0(fields[i].key, "GLIB_DOMAIN") == 0 && fields[i].length < 0) {
            domain = static_cast<const char*>(fields[i].value);
        } else if (g_strcmp0(fields[i].key, "MESSAGE") == 0 && fields[i].length < 0) {
            message = static_cast<const char*>(fields[i].value);
        }
    }
    if (message == nullptr || g_log_writer_default_would_drop(level, domain)) {
        return G_LOG_WRITER_HANDLED;
    }
    log_priority prio = DLOG_DEBUG;
    if (level & (G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL)) {
        prio = DLOG_ERROR;
    } else if (level & G_LOG_LEVEL_WARNING) {
        prio = DLOG_WARN;
    } else if (level & (G_LOG_LEVEL_MESSAGE | G_LOG_LEVEL_INFO)) {
        prio = DLOG_INFO;
    }
    dlog_print(prio, domain != nullptr ? domain : "GLIB", "%s", message);
    return G_LOG_WRITER_HANDLED;
}

}  // namespace

extern "C" {

void dlog_route_glib_messages(void) {
    g_log_set_writer_func(writeGlibMessage, nullptr, nullptr);
}

int dlog_vprint(log_priority prio, const char* tag, const char* fmt, va_list ap) {
    if (tag == nullptr || fmt == nullptr) {
        return -1;
    }
    if (static_cast<int>(prio) < g_minPriority.load()) {
        return 0;
    }
    va_list copy;
    va_copy(copy, ap);
    int length = vsnprintf(nullptr, 0, fmt, copy);
    va_end(copy);
    if (length < 0) {
        return -1;
    }
    std::string message(static_cast<size_t>(length), '\0');
    vsnprintf(message.data(), message.size() + 1, fmt, ap);

    std::lock_guard<std::mutex> lock(g_sinkMutex);
    if (g_sink != nullptr) {
        g_sink(prio, tag, message.c_str(), g_sinkUserData);
    } else {
        writeToStderr(prio, tag, message);
    }
    return length;
}

int dlog_print(log_priority prio, const char* tag, const char* fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    int result = dlog_vprint(prio, tag, fmt, ap);
    va_end(ap);
    return result;
}

void dlog_set_min_priority(log_priority prio) {
    g_minPriority.store(prio);
}

log_priority dlog_get_min_priority(void) {
    return static_cast<log_priority>(g_minPriority.load());
}

void dlog_set_sink(dlog_sink_cb sink, void* user_data) {
    std::lock_guard<std::mutex> lock(g_sinkMutex);
    g_sink = sink;
    g_sinkUserData = user_data;
}

}  // extern "C"
