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
    const uint64_t size =
        sizeof header + uint64_t{header.tagLength} + kSeparatorBytes + header.textLength;
    bool stored = false;
    bool wake = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        size_t toEnd = m_capacity - (m_head & m_mask);
        if (toEnd < size && m_head == m_tail) {
            // Empty: the line may as well start at the beginning.
            m_head += toEnd;
            m_tail = m_head;
            toEnd = m_capacity;
        }
        // A line that does not fit before the end goes to the beginning; the taker skips the rest.
        const uint64_t skip = toEnd < size ? toEnd : 0;
        stored = !m_stopped && skip + size <= m_capacity - (m_head - m_tail);
        if (stored) {
            char* at = m_buffer.get() + (m_head & m_mask);
            if (skip >= sizeof header) {
                LogRecordHeader marker;
                marker.tagLength = kSkipToStart;
                std::memcpy(at, &marker, sizeof marker);
            }
            at = m_buffer.get() + ((m_head + skip) & m_mask);
            std::memcpy(at, &header, sizeof header);
            at += sizeof header;
            std::memcpy(at, tag, header.tagLength);
            at += header.tagLength;
            *at++ = ':';
            *at++ = ' ';
            std::memcpy(at, text, header.textLength);
            at[header.textLength] = '\n';
            m_head += skip + size;
        } else {
            m_full.store(true, std::memory_order_relaxed);
            if (!header.toFile) {
                ++(header.toOutput ? m_droppedOutput : m_droppedRecent);
            }
        }
        // A drop wakes the taker too: its count is reported even when nothing else comes.
        wake = m_takerSleeping.exchange(false);
    }
    if (wake) {
        m_queued.notify_one();
    }
    return stored;
}

bool LogRing::take(Batch& batch) {
    uint64_t begin = 0;
    uint64_t head = 0;
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        // Set before the counts are looked at, as drop() counts before it looks at this: either
        // this sees a count or drop() sees the taker asleep.
        m_takerSleeping.store(true);
        while (m_head == m_tail && m_droppedOutput == 0 && m_droppedRecent == 0 && !m_stopped) {
            m_queued.wait(lock);
            m_takerSleeping.store(true);
        }
        m_takerSleeping.store(false);
        if (m_head == m_tail && m_droppedOutput == 0 && m_droppedRecent == 0) {
            return false;  // stopped and drained
        }
        begin = m_tail;
        head = m_head;
        batch.droppedOutput = m_droppedOutput.exchange(0);
        batch.droppedRecent = m_droppedRecent.exchange(0);
        m_batchOut = true;
    }
    batch.begin = begin;
    batch.head = head;
    batch.end = begin;
    return true;
}

void LogRing::markWritten(uint64_t end) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        // A push into the empty ring may have moved the tail past a batch of drop counts only.
        m_tail = std::max(m_tail, end);
        m_batchOut = false;
        m_full.store(false, std::memory_order_relaxed);
    }
    m_written.notify_all();
}

void LogRing::drop(bool toOutput) {
    // No lock while the writer is behind: every line of the callers comes here then.
    ++(toOutput ? m_droppedOutput : m_droppedRecent);
    if (!m_takerSleeping.load()) {
        return;
    }
    bool wake = false;
    {
        // The taker holds the lock from its look at the counts until it sleeps.
        std::lock_guard<std::mutex> lock(m_mutex);
        wake = m_takerSleeping.exchange(false);
    }
    if (wake) {
        m_queued.notify_one();
    }
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
           (m_tail >= target && !m_batchOut && m_droppedOutput == 0 && m_droppedRecent == 0);
}

}  // namespace ipc_platform
