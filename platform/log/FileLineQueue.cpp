// Lines for files (the KPI log's events), queued for the log's writing thread.
#include "FileLineQueue.h"

#include <algorithm>
#include <utility>

namespace ipc_platform {

bool FileLineQueue::push(const std::string& path, std::string line, bool& wakeWriter) {
    wakeWriter = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_bytes + line.size() <= kMaxQueuedBytes) {
            m_bytes += line.size();
            m_lines.push_back({path, std::move(line)});
            ++m_queued;
            wakeWriter = m_lines.size() == 1;
            return true;
        }
    }
    // The writing thread does not keep up: this caller writes the queue out, its line last.
    return writeNow(path, std::move(line));
}

bool FileLineQueue::writeNow(const std::string& path, std::string line) {
    Line own{path, std::move(line)};
    return _writeQueued(&own);
}

void FileLineQueue::drain() {
    _writeQueued(nullptr);
}

bool FileLineQueue::_writeQueued(Line* own) {
    std::lock_guard<std::mutex> writing(m_writeMutex);
    std::vector<Line> lines;
    uint64_t upTo = 0;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_lines.empty() && own == nullptr) {
            return true;
        }
        lines.swap(m_lines);
        m_bytes = 0;
        upTo = own != nullptr ? ++m_queued : m_queued;
    }
    if (own != nullptr) {
        lines.push_back(std::move(*own));
    }
    bool written = true;
    for (const Line& line : lines) {
        written = m_file.append(line.path, line.text) && written;
    }
    written = m_file.flush() && written;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_written = std::max(m_written, upTo);
    }
    m_writtenChanged.notify_all();
    return written;
}

void FileLineQueue::waitForWritten() {
    std::unique_lock<std::mutex> lock(m_mutex);
    const uint64_t target = m_queued;
    m_writtenChanged.wait(lock, [&] { return m_written >= target; });
}

}  // namespace ipc_platform
