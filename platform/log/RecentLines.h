// The latest log lines, kept in memory for the admin API and the TV screen page.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace ipc_platform {

// A bounded list of the latest lines, oldest first, each with a sequence number that grows by one
// per line. Thread-safe: the log's writing thread adds, admin connection threads read.
class RecentLines {
public:
    struct Entry {
        uint64_t sequence = 0;
        int64_t timeUs = 0;
        int priority = 0;  // a log_priority
        std::string tag;
        std::string text;
    };

    static constexpr size_t kDefaultCapacity = 500;
    // Longer texts are cut (at a character boundary, "…" marks it) to bound the memory.
    static constexpr size_t kMaxText = 1024;

    explicit RecentLines(size_t capacity = kDefaultCapacity);

    // Adds a run of lines under one lock (readers wait meanwhile: keep it to the adding).
    class Batch {
    public:
        explicit Batch(RecentLines& recent) : m_recent(recent), m_lock(recent.m_mutex) {}
        void add(int priority, int64_t timeUs, const char* tag, size_t tagLength, const char* text,
                 size_t textLength) {
            m_recent._add(priority, timeUs, tag, tagLength, text, textLength);
        }

    private:
        RecentLines& m_recent;
        std::lock_guard<std::mutex> m_lock;
    };

    void add(int priority, int64_t timeUs, const char* tag, size_t tagLength, const char* text,
             size_t textLength) {
        Batch(*this).add(priority, timeUs, tag, tagLength, text, textLength);
    }
    // The lines at or above minPriority, oldest first.
    std::vector<Entry> lines(int minPriority) const;
    // The sequence number of the latest line; 0 before the first.
    uint64_t lastSequence() const;

    // Called after a run of adds (not once per line), outside the lock.
    void setListener(std::function<void()> listener);
    void notifyListener() const;

private:
    // Needs m_mutex.
    void _add(int priority, int64_t timeUs, const char* tag, size_t tagLength, const char* text,
              size_t textLength);

    // Where a kept line's tag and text lie in m_bytes, and the rest of it.
    struct Slot {
        uint64_t sequence = 0;
        int64_t timeUs = 0;
        int priority = 0;
        uint32_t tagLength = 0;
        uint32_t textLength = 0;
        uint64_t at = 0;  // position of the tag, the text right after it
    };

    // Need m_mutex.
    void _copyIn(uint64_t position, const char* data, size_t size);
    std::string _copyOut(uint64_t position, size_t size) const;
    // Makes m_bytes hold at least size more bytes besides those of the kept lines (from tail).
    void _grow(uint64_t tail, size_t size);

    const size_t m_capacity;
    // Protects every member below.
    mutable std::mutex m_mutex;
    // The lines, oldest at m_oldest once full; their tags and texts one after the other in a byte
    // ring that grows until it holds the longest lines kept, so that a line costs no allocation
    // and one copy.
    std::vector<Slot> m_slots;
    size_t m_oldest = 0;
    std::vector<char> m_bytes;  // a power of two in size
    uint64_t m_bytesHead = 0;   // where the next line's tag goes
    uint64_t m_lastSequence = 0;
    // Shared with a notifyListener that calls it outside the lock.
    std::shared_ptr<const std::function<void()>> m_listener;
};

// The recent lines of the process's log (dlog_print): every line at or above info, or at or
// above the output's level when that is lower; none at silent.
RecentLines& processRecentLines();

}  // namespace ipc_platform
