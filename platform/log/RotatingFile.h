// An append-only log file kept open between lines and moved aside once when full.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <string_view>

namespace ipc_platform {

// Appends whole lines to one file. Lines are gathered until flush(), so that the lines of a
// moment cost one write; the file stays open between them. When the next line would take the
// file past the bound, it becomes <path>.1 (replacing the previous one) and a new file is
// started; a line longer than the bound still goes to an empty file. Errors are logged.
// Not thread-safe: its owner (FileLineQueue) lets one thread at a time use it.
class RotatingFile {
public:
    explicit RotatingFile(off_t bound) : m_bound(bound) {}
    ~RotatingFile();
    RotatingFile(const RotatingFile&) = delete;
    RotatingFile& operator=(const RotatingFile&) = delete;

    // Queues line (with its newline) for the file at path, switching files when path is not the
    // one open. False when that file cannot be opened.
    bool append(std::string_view path, std::string_view line);
    // Writes what is queued. False (the lines lost) when the file cannot be written.
    bool flush();

private:
    bool _open(std::string_view path);
    void _close();
    void _checkPath();
    bool _rotate();
    bool _writePending();

    const off_t m_bound;
    std::string m_path;
    int m_fd = -1;
    dev_t m_device = 0;  // identity of the open file, to notice it was moved or removed
    ino_t m_inode = 0;
    off_t m_size = 0;       // the file's, counted from what we write and queue, refreshed at checks
    std::string m_pending;  // lines queued for the open file
    std::chrono::steady_clock::time_point m_nextCheck;
};

}  // namespace ipc_platform
