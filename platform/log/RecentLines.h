// The latest log lines, kept in memory for the admin API and the TV screen page.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
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
        // Counts lines that are not kept (older ones of a run longer than the capacity).
        void skip(uint64_t count) { m_recent.m_lastSequence += count; }

    private:
        RecentLines& m_recent;
        std::lock_guard<std::mutex> m_lock;
    };

    void add(int priority, int64_t timeUs, const char* tag, size_t tagLength, const char* text,
             size_t textLength) {
        Batch(*this).add(priority, timeUs, tag, tagLength, text, textLength);
    }
    size_t capacity() const { return m_capacity; }
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

    const size_t m_capacity;
    mutable std::mutex m_mutex;  // protects m_entries, m_oldest, m_lastSequence and m_listener
    // A ring, oldest at m_oldest once full: a new line takes over the oldest one's strings, so
    // that a line costs no allocation once the ring has filled.
    std::vector<Entry> m_entries;
    size_t m_oldest = 0;
    uint64_t m_lastSequence = 0;
    std::function<void()> m_listener;
};

// The recent lines of the process's log (dlog_print): every line at or above info, or at or
// above the output's level when that is lower; none at silent.
RecentLines& processRecentLines();

}  // namespace ipc_platform
