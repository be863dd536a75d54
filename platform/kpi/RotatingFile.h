// An append-only log file kept open between lines and moved aside once when full.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <mutex>
#include <string>

namespace ipc_platform {

// Appends whole lines to one file. The file stays open, so a line costs one write. When the next
// line would take the file past the bound, it becomes <path>.1 (replacing the previous one) and a
// new file is started; a line longer than the bound still goes to an empty file. Thread-safe.
class RotatingFile {
public:
    explicit RotatingFile(off_t bound) : m_bound(bound) {}
    ~RotatingFile();
    RotatingFile(const RotatingFile&) = delete;
    RotatingFile& operator=(const RotatingFile&) = delete;

    // Appends line to the file at path, switching files when path is not the one open. False
    // (with an error logged) when it could not be written.
    bool append(const std::string& path, const std::string& line);

private:
    bool _openLocked(const std::string& path);
    void _closeLocked();
    void _checkPathLocked();
    bool _rotateLocked();

    const off_t m_bound;
    // Protects everything below, and keeps a line and a rotation from interleaving.
    std::mutex m_mutex;
    std::string m_path;
    int m_fd = -1;
    dev_t m_device = 0;  // identity of the open file, to notice it was moved or removed
    ino_t m_inode = 0;
    off_t m_size = 0;  // counted from what we write, refreshed whenever the path is checked
    std::chrono::steady_clock::time_point m_nextCheck;
};

}  // namespace ipc_platform
