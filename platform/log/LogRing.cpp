// A bounded byte ring of log lines: pushes that never wait, one taker that sleeps when idle.
#include "LogRing.h"

#include <algorithm>
#include <cstring>
#include <thread>

namespace ipc_platform {

namespace {

size_t powerOfTwoAtLeast(size_t value) {
    size_t result = 64;
    while (result < value) {
        result *= 2;
    }
    return result;
}

}  // namespace

LogRing::LogRing(size_t capacity)
    : m_capacity(powerOfTwoAtLeast(capacity)),
      m_buffer(new char[m_capacity]),
      m_mask(m_capacity - 1) {}

bool LogRing::push(const LogRecordHeader& header, const char* tag, const char* text) {
    const uint64_t size = sizeof header + uint64_t{header.tagLength} + header.textLength;
    bool stored = false;
    bool wake = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        stored = !m_stopped && size <= m_capacity - (m_head - m_tail);
        if (stored) {
            _copyIn(m_head, &header, sizeof header);
            _copyIn(m_head + sizeof header, tag, header.tagLength);
            _copyIn(m_head + sizeof header + header.tagLength, text, header.textLength);
            m_head += size;
        } else {
            ++(header.toOutput ? m_droppedOutput : m_droppedRecent);
        }
        // A drop wakes the taker too: its count is reported even when nothing else comes.
        wake = m_takerSleeping;
        m_takerSleeping = false;
    }
    if (wake) {
        m_queued.notify_one();
    }
    return stored;
}

bool LogRing::take(Batch& batch) {
    batch.bytes.clear();
    batch.lines.clear();
    uint64_t begin = 0;
    uint64_t head = 0;
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (m_head == m_tail && m_droppedOutput == 0 && m_droppedRecent == 0 && !m_stopped) {
            m_takerSleeping = true;
            m_queued.wait(lock);
        }
        m_takerSleeping = false;
        if (m_head == m_tail && m_droppedOutput == 0 && m_droppedRecent == 0) {
            return false;  // stopped and drained
        }
        begin = m_tail;
        head = m_head;
        batch.droppedOutput = m_droppedOutput;
        batch.droppedRecent = m_droppedRecent;
        m_droppedOutput = 0;
        m_droppedRecent = 0;
        m_batchOut = true;
    }
    // The bytes up to head are this thread's until m_tail moves, so they are read without the
    // lock. A batch stops at about kMaxBatchBytes so that room comes back while a long backlog
    // is written and the copy stays small.
    batch.end = begin;
    while (batch.end < head && (batch.end == begin || batch.end - begin < kMaxBatchBytes)) {
        LogRecordHeader header;
        _copyOut(batch.end, &header, sizeof header);
        batch.end += sizeof header + header.tagLength + header.textLength;
    }
    batch.bytes.resize(batch.end - begin);
    _copyOut(begin, batch.bytes.data(), batch.bytes.size());
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_tail = batch.end;
    }
    for (size_t offset = 0; offset < batch.bytes.size();) {
        Line line{};
        std::memcpy(&line.header, batch.bytes.data() + offset, sizeof line.header);
        line.tag = batch.bytes.data() + offset + sizeof line.header;
        line.text = line.tag + line.header.tagLength;
        offset += sizeof line.header + line.header.tagLength + line.header.textLength;
        batch.lines.push_back(line);
    }
    return true;
}

void LogRing::markWritten(uint64_t end) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_writtenUpTo = std::max(m_writtenUpTo, end);
        m_batchOut = false;
    }
    m_written.notify_all();
}

void LogRing::waitForWritten() {
    std::unique_lock<std::mutex> lock(m_mutex);
    const uint64_t target = m_head;
    m_written.wait(lock, [&] { return _isWrittenUpTo(target); });
}

bool LogRing::waitForWrittenFor(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    std::unique_lock<std::mutex> lock(m_mutex, std::defer_lock);
    while (!lock.try_lock()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    const uint64_t target = m_head;
    return m_written.wait_until(lock, deadline, [&] { return _isWrittenUpTo(target); });
}

void LogRing::stop() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopped = true;
    }
    m_queued.notify_all();
    m_written.notify_all();
}

bool LogRing::_isWrittenUpTo(uint64_t target) const {
    // Lines dropped before are written too: as their count.
    return m_stopped ||
           (m_writtenUpTo >= target && !m_batchOut && m_droppedOutput == 0 && m_droppedRecent == 0);
}

void LogRing::_copyIn(uint64_t position, const void* data, size_t size) {
    const size_t start = position & m_mask;
    const size_t first = std::min(size, m_capacity - start);
    std::memcpy(m_buffer.get() + start, data, first);
    std::memcpy(m_buffer.get(), static_cast<const char*>(data) + first, size - first);
}

void LogRing::_copyOut(uint64_t position, void* data, size_t size) const {
    const size_t start = position & m_mask;
    const size_t first = std::min(size, m_capacity - start);
    std::memcpy(data, m_buffer.get() + start, first);
    std::memcpy(static_cast<char*>(data) + first, m_buffer.get(), size - first);
}

}  // namespace ipc_platform
