// A bounded byte ring of log lines between the threads that log and the one thread that writes.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>

namespace ipc_platform {

// What travels with each line through the ring; the tag and the text follow it as the line ends
// when written out, "TAG: text\n", so that the writer copies them in one piece.
struct LogRecordHeader {
    uint32_t tagLength = 0;
    uint32_t textLength = 0;
    int64_t timeUs = 0;    // wall clock when the line was logged, microseconds since the epoch
    uint8_t priority = 0;  // a log_priority
    bool toOutput = true;  // false: kept among the recent lines only, never written out
    // Not a log line but a wake-up for the lines queued for files (FileLineQueue): neither
    // written out nor kept among the recent lines, and not counted when dropped.
    bool toFile = false;
};

// Many threads push, one thread takes. A push copies the line in under a lock held only for the
// copy, never waits for the taker, and when the line does not fit it is dropped and counted. The
// taker sleeps while the ring is empty and is woken by the push that finds it asleep only, so a
// taker that is busy or behind costs the pushers nothing more. A line is never split at the end
// of the buffer (the bytes left there are skipped), so that the taker reads lines where they lie.
//
// Thread-safe: push and waitForWritten from any thread; take and markWritten from the one taking
// thread.
class LogRing {
public:
    // One line of a batch; tag and text point into the ring, valid until the batch is marked
    // written. From tag on, the line's end as written out: "TAG: text\n".
    struct Line {
        LogRecordHeader header;
        const char* tag;
        const char* text;
    };
    // The bytes of "TAG: text\n" besides the tag and the text.
    static constexpr size_t kSeparatorBytes = 3;
    // What one take hands over: the lines pushed before it, read one by one with next(), and how
    // many were dropped meanwhile (those meant for the output; lines only kept as recent apart).
    struct Batch {
        uint64_t droppedOutput = 0;
        uint64_t droppedRecent = 0;
        uint64_t begin = 0;
        uint64_t head = 0;  // the end of the lines queued at the take
        uint64_t end = 0;   // how far next() has read: the position to hand to markWritten
    };

    // A take hands over about this much at most (at least one line).
    static constexpr uint64_t kMaxBatchBytes = 64 * 1024;

    // capacity: bytes, rounded up to a power of two.
    explicit LogRing(size_t capacity);
    LogRing(const LogRing&) = delete;
    LogRing& operator=(const LogRing&) = delete;

    // False when the line did not fit and was counted as dropped.
    bool push(const LogRecordHeader& header, const char* tag, const char* text);
    // True from a line that did not fit until the taker frees room: a line pushed meanwhile is
    // most likely dropped too, so a caller may drop it (drop()) before it spends time formatting
    // it. Read without the lock.
    bool full() const { return m_full.load(std::memory_order_relaxed); }
    // Counts a line dropped without being pushed, without taking the lock unless the taker sleeps.
    void drop(bool toOutput);

    // Waits until lines are queued or a drop is to be reported (or stop() was called), then hands
    // them over. False once stopped with nothing left.
    bool take(Batch& batch);
    // The batch's next line, where it lies in the ring; false after its last (the last queued at
    // the take, or the one that passes kMaxBatchBytes, so that room comes back while a long
    // backlog is written). No lock: the bytes of a batch stay as they are until markWritten.
    bool next(Batch& batch, Line& line) const {
        while (batch.end < batch.head &&
               (batch.end == batch.begin || batch.end - batch.begin < kMaxBatchBytes)) {
            const size_t offset = batch.end & m_mask;
            const size_t toEnd = m_capacity - offset;
            if (toEnd >= sizeof line.header) {
                std::memcpy(&line.header, m_buffer.get() + offset, sizeof line.header);
            }
            if (toEnd < sizeof line.header || line.header.tagLength == kSkipToStart) {
                batch.end += toEnd;
                continue;
            }
            line.tag = m_buffer.get() + offset + sizeof line.header;
            line.text = line.tag + line.header.tagLength + 2;  // after "TAG: "
            batch.end += sizeof line.header + line.header.tagLength + kSeparatorBytes +
                         line.header.textLength;
            return true;
        }
        return false;
    }
    // Everything up to end (a batch's end) has been written: its room is free again, and
    // waitForWritten wakes.
    void markWritten(uint64_t end);
    // Blocks until every line pushed before the call has been taken and marked written, and the
    // count of any line dropped before it too.
    void waitForWritten();
    // The same for at most limit, and without waiting for the lock beyond it (for a crashing
    // thread, which may hold it). False when the time ran out.
    bool waitForWrittenFor(std::chrono::milliseconds limit);
    // Ends take() once the ring is empty.
    void stop();

    size_t capacity() const { return m_capacity; }

private:
    // A header with this tag length only says that the rest of the buffer is skipped.
    static constexpr uint32_t kSkipToStart = UINT32_MAX;

    // Needs m_mutex.
    bool _isWrittenUpTo(uint64_t target) const;

    const size_t m_capacity;
    const std::unique_ptr<char[]> m_buffer;  // not cleared: pages are touched as lines come
    const uint64_t m_mask;

    // Protects the positions, the counters and the flags below. The bytes between m_tail and
    // m_head are lines not yet written; those of a batch belong to the taker from the take that
    // hands them over until markWritten.
    std::mutex m_mutex;
    std::condition_variable m_queued;   // the taker waits for lines
    std::condition_variable m_written;  // waitForWritten waits for the taker
    uint64_t m_head = 0;                // where the next line goes
    uint64_t m_tail = 0;                // the first byte not yet written
    // Also counted by drop() without the lock.
    std::atomic<uint64_t> m_droppedOutput{0};
    std::atomic<uint64_t> m_droppedRecent{0};
    bool m_batchOut = false;                   // taken and not yet marked written
    std::atomic<bool> m_full{false};           // written under m_mutex
    std::atomic<bool> m_takerSleeping{false};  // written under m_mutex, read by drop() without
    bool m_stopped = false;
};

}  // namespace ipc_platform
