// An append-only log file kept open between lines and moved aside once when full.
#include "RotatingFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "PlatformLog.h"
#include "dlog.h"

namespace ipc_platform {

namespace {

// Someone else may move or remove the file (logrotate, a user). Looking at the path costs a
// system call, so it is done at most this often, and whenever the file seems full.
constexpr std::chrono::seconds kPathCheckInterval(1);

void logFileError(const char* action, const std::string& path, int error) {
    dlog_print(DLOG_ERROR, kLogTag, "KPI log: cannot %s %s: %s", action, path.c_str(),
               strerror(error));
}

}  // namespace

RotatingFile::~RotatingFile() {
    _writePending();
    _close();
}

bool RotatingFile::_open(std::string_view path) {
    _close();
    m_path = path;
    m_fd = open(m_path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    struct stat info {};
    if (m_fd < 0 || fstat(m_fd, &info) != 0) {
        logFileError("open", m_path, errno);
        _close();
        return false;
    }
    m_device = info.st_dev;
    m_inode = info.st_ino;
    m_size = info.st_size;
    m_nextCheck = std::chrono::steady_clock::now() + kPathCheckInterval;
    return true;
}

void RotatingFile::_close() {
    m_pending.clear();
    if (m_fd >= 0) {
        close(m_fd);
        m_fd = -1;
    }
}

void RotatingFile::_checkPath() {
    // What is queued belongs to the file as it is now.
    if (!_writePending()) {
        return;
    }
    m_nextCheck = std::chrono::steady_clock::now() + kPathCheckInterval;
    struct stat info {};
    if (stat(m_path.c_str(), &info) != 0 || info.st_dev != m_device || info.st_ino != m_inode) {
        _open(m_path);  // moved or removed behind our back: follow the path
        return;
    }
    m_size = info.st_size;  // another writer may have appended or truncated
}

bool RotatingFile::_rotate() {
    if (!_writePending()) {
        return false;
    }
    const std::string rotated = m_path + ".1";
    if (rename(m_path.c_str(), rotated.c_str()) != 0) {
        // The line then still goes to the full file.
        logFileError("rotate", m_path, errno);
        return true;
    }
    return _open(m_path);
}

bool RotatingFile::_writePending() {
    size_t done = 0;
    while (done < m_pending.size()) {
        ssize_t n = write(m_fd, m_pending.data() + done, m_pending.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            logFileError("write", m_path, n < 0 ? errno : EIO);
            _close();  // opened again for the next line
            return false;
        }
        done += static_cast<size_t>(n);
    }
    m_pending.clear();
    return true;
}

bool RotatingFile::append(std::string_view path, std::string_view line) {
    if (m_fd < 0 || path != m_path) {
        if (!_writePending() || !_open(path)) {
            return false;
        }
    }
    const off_t bytes = static_cast<off_t>(line.size());
    if (m_size + bytes > m_bound || std::chrono::steady_clock::now() >= m_nextCheck) {
        _checkPath();
        if (m_fd < 0) {
            return false;
        }
    }
    if (m_size != 0 && m_size + bytes > m_bound && !_rotate()) {
        return false;
    }
    m_pending.append(line);
    m_size += bytes;
    return true;
}

bool RotatingFile::flush() {
    return _writePending();
}

}  // namespace ipc_platform
