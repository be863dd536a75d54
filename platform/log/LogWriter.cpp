// The log's writing thread: batches of lines from the ring to stderr, and the recent lines.
#include "LogWriter.h"

#include <glib.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "PlatformLog.h"
#include "RecentLines.h"
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

}  // namespace

LogWriter::LogWriter(LogRing& ring, int fd, bool journal, RecentLines* recent)
    : m_ring(ring), m_fd(fd), m_journal(journal), m_recent(recent) {}

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

void LogWriter::appendLine(std::string& out, bool journal, int priority, int64_t timeUs,
                           const char* tag, size_t tagLength, const char* text, size_t textLength) {
    // "HH:MM:SS.mmm L " (or "<N>" for the journal), the tag, ": ", the text, "\n": put together
    // in one piece, as this runs for every line the service logs.
    char head[16];
    size_t headLength = 0;
    if (journal) {
        head[0] = '<';
        head[1] = static_cast<char>('0' + syslogLevel(priority));
        head[2] = '>';
        headLength = 3;
    } else {
        // The clock part changes once a second: the time zone is looked up only then.
        thread_local time_t stampSecond = -1;
        thread_local char stamp[9] = "";
        const time_t second = static_cast<time_t>(timeUs / 1000000);
        if (second != stampSecond) {
            tm local{};
            localtime_r(&second, &local);
            strftime(stamp, sizeof stamp, "%H:%M:%S", &local);
            stampSecond = second;
        }
        const int millis = static_cast<int>(timeUs % 1000000 / 1000);
        memcpy(head, stamp, 8);
        head[8] = '.';
        head[9] = static_cast<char>('0' + millis / 100);
        head[10] = static_cast<char>('0' + millis / 10 % 10);
        head[11] = static_cast<char>('0' + millis % 10);
        head[12] = ' ';
        head[13] = levelLetter(priority);
        head[14] = ' ';
        headLength = 15;
    }
    const size_t at = out.size();
    out.resize(at + headLength + tagLength + 2 + textLength + 1);
    char* p = out.data() + at;
    memcpy(p, head, headLength);
    p += headLength;
    memcpy(p, tag, tagLength);
    p += tagLength;
    *p++ = ':';
    *p++ = ' ';
    memcpy(p, text, textLength);
    p[textLength] = '\n';
}

void LogWriter::writeAll(int fd, const std::string& text) {
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t written = write(fd, text.data() + done, text.size() - done);
        if (written > 0) {
            done += static_cast<size_t>(written);
        } else if (written < 0 && errno != EINTR) {
            return;  // nowhere to write to: the lines are lost, the service goes on
        }
    }
}

void LogWriter::_run() {
    pthread_setname_np(pthread_self(), "log-writer");
    LogRing::Batch batch;
    std::string out;
    while (m_ring.take(batch)) {
        out.clear();
        // Of a long batch only the newest lines can stay among the recent ones.
        const size_t firstRecent = m_recent != nullptr && batch.lines.size() > m_recent->capacity()
                                       ? batch.lines.size() - m_recent->capacity()
                                       : 0;
        if (m_recent != nullptr) {
            m_recent->skip(firstRecent);
        }
        for (size_t i = 0; i < batch.lines.size(); ++i) {
            const LogRing::Line& line = batch.lines[i];
            const LogRecordHeader& header = line.header;
            if (header.toOutput) {
                appendLine(out, m_journal, header.priority, header.timeUs, line.tag,
                           header.tagLength, line.text, header.textLength);
            }
            if (m_recent != nullptr && i >= firstRecent) {
                m_recent->add(header.priority, header.timeUs, line.tag, header.tagLength, line.text,
                              header.textLength);
            }
        }
        // Lines lost to the output are counted there; the recent lines lost every dropped one.
        const uint64_t lost = batch.droppedOutput + batch.droppedRecent;
        if (lost > 0) {
            char text[64];
            const int64_t timeUs = g_get_real_time();
            if (batch.droppedOutput > 0) {
                const int length = snprintf(text, sizeof text, "%" PRIu64 " log lines dropped",
                                            batch.droppedOutput);
                appendLine(out, m_journal, DLOG_WARN, timeUs, kLogTag, sizeof kLogTag - 1, text,
                           static_cast<size_t>(length));
            }
            if (m_recent != nullptr) {
                const int length =
                    snprintf(text, sizeof text, "%" PRIu64 " log lines dropped", lost);
                m_recent->add(DLOG_WARN, timeUs, kLogTag, sizeof kLogTag - 1, text,
                              static_cast<size_t>(length));
            }
        }
        writeAll(m_fd, out);
        m_ring.markWritten(batch.end);
        if (m_recent != nullptr && (!batch.lines.empty() || lost > 0)) {
            m_recent->notifyListener();
        }
        // A busy service logs a few lines at a time: left awake for a moment, this thread finds
        // them gathered in the ring instead of being woken for each few, and the loggers do not
        // pay for waking it.
        std::this_thread::sleep_for(kGatherTime);
    }
}

}  // namespace ipc_platform
