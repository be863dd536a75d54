// Platform log: the level check, the line formatted on the caller's stack and queued for the
// log's writing thread (or handed to the sink installed by the host or a test).
#include "dlog.h"

#include <glib.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "AppendedFile.h"
#include "LineFormat.h"
#include "LogRing.h"
#include "LogWriter.h"
#include "RecentLines.h"
#include "FileLineQueue.h"

namespace {

using ipc_platform::FileLineQueue;
using ipc_platform::LogRecordHeader;
using ipc_platform::LogRing;
using ipc_platform::LogWriter;
using ipc_platform::RecentLines;

// Room for several thousand lines, enough to ride out a short pause of the terminal or journald;
// past that, lines are dropped rather than the service made to wait.
constexpr size_t kRingBytes = 1024 * 1024;
// A file appended through the log (the KPI log) and its predecessor each stay within this size.
constexpr off_t kAppendedFileBytes = 1024 * 1024;
// Most lines fit on the caller's stack; longer ones take the heap.
constexpr size_t kStackText = 1024;

// Lines below g_outputPriority are not written out; lines below g_keepPriority are not even
// formatted. The recent lines keep info and above whatever the output level, except at silent.
std::atomic<int> g_outputPriority{DLOG_INFO};
std::atomic<int> g_keepPriority{DLOG_INFO};

// Protects the sink and its user data.
std::mutex g_sinkMutex;
dlog_sink_cb g_sink = nullptr;
void* g_sinkUserData = nullptr;
// Whether g_sink is set, so that lines without a sink never take g_sinkMutex.
std::atomic<bool> g_hasSink{false};

// Set once the process exits: the writing thread may be gone any moment, so each line is
// written on the calling thread from then on.
std::atomic<bool> g_direct{false};

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

struct Logging {
    LogRing ring{kRingBytes};
    RecentLines recent;
    FileLineQueue files{kAppendedFileBytes};
    LogWriter writer{ring, STDERR_FILENO, stderrIsJournal(), &recent, &files};
};

void flushAtExit();

// Made with the first line. Never destroyed: lines may come from static destructors and other
// threads until the very end.
Logging& logging() {
    static Logging* const instance = [] {
        auto* created = new Logging;
        created->writer.start();
        atexit(flushAtExit);
        // A forked child has no writing thread: it writes its own lines.
        pthread_atfork(nullptr, nullptr, [] { g_direct.store(true); });
        return created;
    }();
    return *instance;
}

void flushAtExit() {
    g_direct.store(true);
    logging().ring.waitForWritten();
    // Lines for files still queued (the writer may not have come round to them) go now.
    logging().files.drain();
}

void queueLine(log_priority prio, const char* tag, const char* text, size_t textLength,
               bool toOutput) {
    const int64_t timeUs = g_get_real_time();
    const size_t tagLength = strlen(tag);
    if (g_direct.load(std::memory_order_relaxed)) {
        if (toOutput) {
            const bool journal = stderrIsJournal();
            std::string line(LogWriter::lineLength(journal, tagLength, textLength), '\0');
            LogWriter::Prefix prefix;
            LogWriter::putLine(line.data(), journal, prefix, prio, timeUs, tag, tagLength, text,
                               textLength);
            LogWriter::writeAll(STDERR_FILENO, line.data(), line.size());
        }
        return;
    }
    LogRecordHeader header;
    header.tagLength = static_cast<uint32_t>(tagLength);
    header.textLength = static_cast<uint32_t>(textLength);
    header.timeUs = timeUs;
    header.priority = static_cast<uint8_t>(prio);
    header.toOutput = toOutput;
    logging().ring.push(header, tag, text);
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
    if (level & G_LOG_FLAG_FATAL) {
        dlog_flush();  // GLib aborts once this returns
    }
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
    if (static_cast<int>(prio) < g_keepPriority.load(std::memory_order_relaxed)) {
        return 0;
    }
    const bool toOutput =
        static_cast<int>(prio) >= g_outputPriority.load(std::memory_order_relaxed);
    if (!g_hasSink.load(std::memory_order_relaxed) && !g_direct.load(std::memory_order_relaxed) &&
        logging().ring.full()) {
        // The writer is behind and the line would be dropped: it is counted without being
        // formatted, so that an overloaded log costs the callers little.
        logging().ring.drop(toOutput);
        return 0;
    }
    char stackText[kStackText];
    std::string heapText;
    const char* text = stackText;
    va_list copy;
    va_copy(copy, ap);
    const int length = ipc_platform::formatLine(stackText, sizeof stackText, fmt, copy);
    va_end(copy);
    if (length < 0) {
        return -1;
    }
    if (static_cast<size_t>(length) >= sizeof stackText) {
        heapText.resize(static_cast<size_t>(length));
        ipc_platform::formatLine(heapText.data(), heapText.size() + 1, fmt, ap);
        text = heapText.c_str();
    }
    bool queuedForOutput = toOutput;
    if (toOutput && g_hasSink.load(std::memory_order_acquire)) {
        // The sink gets the line at once, on this thread: a test reads what it logged right after.
        std::lock_guard<std::mutex> lock(g_sinkMutex);
        if (g_sink != nullptr) {
            g_sink(prio, tag, text, g_sinkUserData);
            queuedForOutput = false;
        }
    }
    queueLine(prio, tag, text, static_cast<size_t>(length), queuedForOutput);
    return toOutput ? length : 0;
}

int dlog_print(log_priority prio, const char* tag, const char* fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    int result = dlog_vprint(prio, tag, fmt, ap);
    va_end(ap);
    return result;
}

void dlog_set_min_priority(log_priority prio) {
    g_outputPriority.store(prio);
    g_keepPriority.store(prio >= DLOG_SILENT ? prio : std::min<int>(prio, DLOG_INFO));
}

log_priority dlog_get_min_priority(void) {
    return static_cast<log_priority>(g_outputPriority.load());
}

void dlog_set_sink(dlog_sink_cb sink, void* user_data) {
    std::lock_guard<std::mutex> lock(g_sinkMutex);
    g_sink = sink;
    g_sinkUserData = user_data;
    g_hasSink.store(sink != nullptr, std::memory_order_release);
}

void dlog_flush(void) {
    if (g_direct.load() || logging().writer.isWriterThread()) {
        return;  // nothing queued, or the caller is the one that would have to write it
    }
    logging().ring.waitForWritten();
    logging().files.waitForWritten();
}

void dlog_flush_in_crash(int timeout_ms) {
    if (g_direct.load() || logging().writer.isWriterThread()) {
        return;
    }
    logging().ring.waitForWrittenFor(std::chrono::milliseconds(timeout_ms));
}

}  // extern "C"

namespace ipc_platform {

RecentLines& processRecentLines() {
    return logging().recent;
}

bool appendFileLine(const std::string& path, const std::string& line) {
    FileLineQueue& files = logging().files;
    if (g_direct.load(std::memory_order_relaxed)) {
        return files.writeNow(path, line + '\n');
    }
    bool wakeWriter = false;
    const bool queued = files.push(path, line + '\n', wakeWriter);
    if (wakeWriter) {
        // An empty record wakes the writing thread. When the ring is full it is awake anyway,
        // and it looks at the queue after every batch.
        LogRecordHeader header;
        header.toOutput = false;
        header.toFile = true;
        logging().ring.push(header, "", "");
    }
    return queued;
}

}  // namespace ipc_platform
