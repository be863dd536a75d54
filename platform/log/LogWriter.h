// The log's writing thread: takes the lines out of the ring and writes them out in batches.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <thread>
#include <vector>

#include "LogRing.h"

namespace ipc_platform {

class RecentLines;
class FileLineQueue;

// Drains a LogRing to a file descriptor on its own thread ("log-writer"): each batch of lines is
// one write, and after each it waits kGatherTime before taking the next.
// Lines go out as "HH:MM:SS.mmm L TAG: text", or as "<N>TAG: text" with the syslog level when the
// descriptor is the journal (which records the time itself). Lines dropped because the ring was
// full are reported as "N log lines dropped" once the thread gets to them. Every log line taken,
// written out or not, is added to the recent lines. After each batch the lines queued for files
// are appended (one write per file), before the batch counts as written and once more after, so
// that a line queued while the batch was out is not left behind; a toFile record in the ring only
// wakes the thread for them.
//
// Threads: start, stop and the destructor from one owner thread; the rest runs on its own thread.
class LogWriter {
public:
    // How long the thread stays awake after a write, gathering lines before it looks again.
    static constexpr std::chrono::milliseconds kGatherTime{2};

    LogWriter(LogRing& ring, int fd, bool journal, RecentLines* recent,
              FileLineQueue* files = nullptr);
    ~LogWriter();
    LogWriter(const LogWriter&) = delete;
    LogWriter& operator=(const LogWriter&) = delete;

    void start();
    // Writes what is queued, then ends the thread.
    void stop();
    bool isWriterThread() const { return std::this_thread::get_id() == m_thread.get_id(); }

    // What the lines of one millisecond and level start with ("HH:MM:SS.mmm L " or "<N>"), made
    // again only when those change; the clock part ("HH:MM:SS") only when the second does.
    struct Prefix {
        int64_t second = -1;
        char clock[9] = "";
        int64_t millisecond = -1;
        int priority = -1;
        char text[16] = "";
    };
    static constexpr size_t kPrefixLength = 15;  // 3 for the journal
    static size_t lineLength(bool journal, size_t tagLength, size_t textLength) {
        return (journal ? 3 : kPrefixLength) + tagLength + LogRing::kSeparatorBytes + textLength;
    }
    // Writes one line at out (also for lines written directly, at exit); returns its end.
    static char* putLine(char* out, bool journal, Prefix& prefix, int priority, int64_t timeUs,
                         const char* tag, size_t tagLength, const char* text, size_t textLength);
    // Writes all of text to fd unless the descriptor fails.
    static void writeAll(int fd, const char* text, size_t length);

private:
    void _run();
    // m_out with room for length bytes after the first used ones.
    char* _room(size_t used, size_t length) {
        if (m_out.size() - used < length) {
            _grow(used + length);
        }
        return m_out.data() + used;
    }
    void _grow(size_t size);

    LogRing& m_ring;
    const int m_fd;
    const bool m_journal;
    RecentLines* const m_recent;
    FileLineQueue* const m_files;  // lines for files, written after each batch
    Prefix m_prefix;               // the thread's own
    std::vector<char> m_out;       // the thread's own: a batch's lines, grown to the longest batch
    std::thread m_thread;
};

}  // namespace ipc_platform
