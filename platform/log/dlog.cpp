// Platform log: formats one line and hands it to the sink or to stderr in a single write.
#include "dlog.h"

#include <atomic>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <string>
#include <sys/time.h>
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

void writeToStderr(log_priority prio, const char* tag, const std::string& message) {
    timeval tv{};
    gettimeofday(&tv, nullptr);
    tm local{};
    localtime_r(&tv.tv_sec, &local);
    char stamp[32];
    strftime(stamp, sizeof(stamp), "%H:%M:%S", &local);

    std::string line;
    line.reserve(message.size() + 64);
    char head[96];
    snprintf(head, sizeof(head), "%s.%03ld %c %s: ", stamp, static_cast<long>(tv.tv_usec / 1000),
             levelLetter(prio), tag);
    line += head;
    line += message;
    line += '\n';
    // One write per line keeps lines of different threads apart.
    ssize_t ignored = write(STDERR_FILENO, line.data(), line.size());
    (void)ignored;
}

}  // namespace

extern "C" {

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
