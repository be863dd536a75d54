// The log's writing thread: batches of lines from the ring to stderr, and the recent lines.
#include "LogWriter.h"

#include <glib.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <optional>

#include "PlatformLog.h"
#include "RecentLines.h"
#include "FileLineQueue.h"
#include "dlog.h"

namespace ipc_platform {

namespace {

char levelLetter(int priority) {
    switch (priority) {
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

int syslogLevel(int priority) {
    switch (priority) {
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

// Makes the prefix of lines of this millisecond and level.
void remakePrefix(LogWriter::Prefix& prefix, int64_t millisecond, int priority) {
    const int64_t second = millisecond / 1000;
    if (second != prefix.second) {
        // The time zone is looked up once a second only.
        const time_t time = static_cast<time_t>(second);
        tm local{};
        localtime_r(&time, &local);
        strftime(prefix.clock, sizeof prefix.clock, "%H:%M:%S", &local);
        prefix.second = second;
    }
    const int millis = static_cast<int>(millisecond - second * 1000);
    char* p = prefix.text;
    memcpy(p, prefix.clock, 8);
    p[8] = '.';
    p[9] = static_cast<char>('0' + millis / 100);
    p[10] = static_cast<char>('0' + millis / 10 % 10);
    p[11] = static_cast<char>('0' + millis % 10);
    p[12] = ' ';
    p[13] = levelLetter(priority);
    p[14] = ' ';
    prefix.millisecond = millisecond;
    prefix.priority = priority;
}

// Writes a line's prefix at out; returns its end.
inline char* putPrefix(char* out, bool journal, LogWriter::Prefix& prefix, int priority,
                       int64_t timeUs) {
    if (journal) {
        out[0] = '<';
        out[1] = static_cast<char>('0' + syslogLevel(priority));
        out[2] = '>';
        return out + 3;
    }
    // A busy service logs many lines within a millisecond.
    const int64_t millisecond = timeUs / 1000;
    if (millisecond != prefix.millisecond || priority != prefix.priority) {
        remakePrefix(prefix, millisecond, priority);
    }
    memcpy(out, prefix.text, LogWriter::kPrefixLength);
    return out + LogWriter::kPrefixLength;
}

}  // namespace

LogWriter::LogWriter(LogRing& ring, int fd, bool journal, RecentLines* recent, FileLineQueue* files)
    : m_ring(ring), m_fd(fd), m_journal(journal), m_recent(recent), m_files(files) {}

LogWriter::~LogWriter() {
    stop();
}

void LogWriter::start() {
    if (!m_thread.joinable()) {
        m_thread = std::thread([this] { _run(); });
    }
}

void LogWriter::stop() {
    if (m_thread.joinable()) {
        m_ring.stop();
        m_thread.join();
    }
}

char* LogWriter::putLine(char* out, bool journal, Prefix& prefix, int priority, int64_t timeUs,
                         const char* tag, size_t tagLength, const char* text, size_t textLength) {
    // The prefix, then "TAG: text\n" as the ring holds it.
    char* p = putPrefix(out, journal, prefix, priority, timeUs);
    memcpy(p, tag, tagLength);
    p += tagLength;
    *p++ = ':';
    *p++ = ' ';
    memcpy(p, text, textLength);
    p += textLength;
    *p++ = '\n';
    return p;
}

void LogWriter::writeAll(int fd, const char* text, size_t length) {
    size_t done = 0;
    while (done < length) {
        const ssize_t written = write(fd, text + done, length - done);
        if (written > 0) {
            done += static_cast<size_t>(written);
        } else if (written < 0 && errno != EINTR) {
            return;  // nowhere to write to: the lines are lost, the service goes on
        }
    }
}

void LogWriter::_grow(size_t size) {
    m_out.resize(std::max(m_out.size() * 2, size));
}

void LogWriter::_run() {
    pthread_setname_np(pthread_self(), "log-writer");
    LogRing::Batch batch;
    while (m_ring.take(batch)) {
        size_t used = 0;
        size_t lines = 0;
        // Of a backlog longer than the recent lines hold only the newest stay there; a batch is
        // short enough to add them all.
        std::optional<RecentLines::Batch> recent;
        if (m_recent != nullptr) {
            recent.emplace(*m_recent);
        }
        for (LogRing::Line line; m_ring.next(batch, line);) {
            const LogRecordHeader& header = line.header;
            if (header.toFile) {
                continue;  // a wake-up for the lines queued for files
            }
            ++lines;
            if (header.toOutput) {
                // The ring holds the line's end as it is written out.
                const size_t end = header.tagLength + LogRing::kSeparatorBytes + header.textLength;
                char* at = _room(used, kPrefixLength + end);
                at = putPrefix(at, m_journal, m_prefix, header.priority, header.timeUs);
                memcpy(at, line.tag, end);
                used = static_cast<size_t>(at + end - m_out.data());
            }
            if (recent) {
                recent->add(header.priority, header.timeUs, line.tag, header.tagLength, line.text,
                            header.textLength);
            }
        }
        // Lines lost to the output are counted there; the recent lines lost every dropped one.
        const uint64_t lost = batch.droppedOutput + batch.droppedRecent;
        if (lost > 0) {
            char text[64];
            const int64_t timeUs = g_get_real_time();
            if (batch.droppedOutput > 0) {
                const size_t length = static_cast<size_t>(snprintf(
                    text, sizeof text, "%" PRIu64 " log lines dropped", batch.droppedOutput));
                char* at = _room(used, lineLength(m_journal, sizeof kLogTag - 1, length));
                used = static_cast<size_t>(putLine(at, m_journal, m_prefix, DLOG_WARN, timeUs,
                                                   kLogTag, sizeof kLogTag - 1, text, length) -
                                           m_out.data());
            }
            if (recent) {
                const int length =
                    snprintf(text, sizeof text, "%" PRIu64 " log lines dropped", lost);
                recent->add(DLOG_WARN, timeUs, kLogTag, sizeof kLogTag - 1, text,
                            static_cast<size_t>(length));
            }
        }
        recent.reset();
        writeAll(m_fd, m_out.data(), used);
        if (m_files != nullptr) {
            m_files->drain();
        }
        m_ring.markWritten(batch.end);
        if (m_files != nullptr) {
            m_files->drain();
        }
        if (m_recent != nullptr && (lines > 0 || lost > 0)) {
            m_recent->notifyListener();
        }
        // A busy service logs a few lines at a time: left awake for a moment, this thread finds
        // them gathered in the ring instead of being woken for each few, and the loggers do not
        // pay for waking it.
        std::this_thread::sleep_for(kGatherTime);
    }
}

}  // namespace ipc_platform
