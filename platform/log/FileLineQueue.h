// Lines for files (the KPI log's events), queued for the log's writing thread.
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "RotatingFile.h"

namespace ipc_platform {

// The lines that callers queue for files and the log's writing thread appends, those of a moment
// in one write per file. Apart from the log's ring, so that a ring full of log lines never holds
// an event up. Bounded: a caller that finds more than kMaxQueuedBytes queued (the writing thread
// is stuck on a blocked stderr) writes the queue out itself, in order, with its own line.
//
// Thread-safe: push and waitForWritten from any thread; drain from the writing thread.
class FileLineQueue {
public:
    static constexpr size_t kMaxQueuedBytes = 1024 * 1024;

    // bound: the size at which a file is moved aside to <path>.1.
    explicit FileLineQueue(off_t bound) : m_file(bound) {}

    // Queues line (with its newline) for the file at path; wakeWriter is set when the queue was
    // empty (the writing thread then needs waking). False when the line could not be written
    // (only when this caller had to write the queue out).
    bool push(const std::string& path, std::string line, bool& wakeWriter);
    // Appends what is queued, then counts it written.
    void drain();
    // Appends line to the file at path at once, after what is queued (at exit, with no writing
    // thread).
    bool writeNow(const std::string& path, std::string line);
    // Blocks until every line queued before the call has been written (or failed).
    void waitForWritten();

private:
    struct Line {
        std::string path;
        std::string text;
    };
    // Takes the queue and writes it out in order, own (when given) last. False when a line could
    // not be written.
    bool _writeQueued(Line* own);

    // Protects m_lines, m_bytes, m_queued and m_written.
    std::mutex m_mutex;
    std::condition_variable m_writtenChanged;
    std::vector<Line> m_lines;
    size_t m_bytes = 0;
    uint64_t m_queued = 0;   // lines queued since the start
    uint64_t m_written = 0;  // of those, how many have been written
    // Held while lines are taken and written, so that lines reach the file in the order queued.
    std::mutex m_writeMutex;
    RotatingFile m_file;  // used under m_writeMutex
};

}  // namespace ipc_platform
