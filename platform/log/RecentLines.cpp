// The latest log lines for the admin API.
#include "RecentLines.h"

namespace ipc_platform {

RecentLines::RecentLines(size_t capacity) : m_capacity(capacity > 0 ? capacity : 1) {}

void RecentLines::_add(int priority, int64_t timeUs, const char* tag, size_t tagLength,
                       const char* text, size_t textLength) {
    size_t kept = textLength;
    if (textLength > kMaxText) {
        // Back to the first byte of a character, so that the cut leaves valid UTF-8 valid.
        kept = kMaxText;
        while (kept > 0 && (static_cast<unsigned char>(text[kept]) & 0xC0) == 0x80) {
            --kept;
        }
    }
    Entry* entry = nullptr;
    if (m_entries.size() < m_capacity) {
        entry = &m_entries.emplace_back();
    } else {
        entry = &m_entries[m_oldest];
        m_oldest = (m_oldest + 1) % m_capacity;
    }
    entry->sequence = ++m_lastSequence;
    entry->timeUs = timeUs;
    entry->priority = priority;
    entry->tag.assign(tag, tagLength);
    entry->text.assign(text, kept);
    if (kept < textLength) {
        entry->text += "\u2026";
    }
}

std::vector<RecentLines::Entry> RecentLines::lines(int minPriority) const {
    std::vector<Entry> result;
    std::lock_guard<std::mutex> lock(m_mutex);
    for (size_t i = 0; i < m_entries.size(); ++i) {
        const Entry& entry = m_entries[(m_oldest + i) % m_entries.size()];
        if (entry.priority >= minPriority) {
            result.push_back(entry);
        }
    }
    return result;
}

uint64_t RecentLines::lastSequence() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_lastSequence;
}

void RecentLines::setListener(std::function<void()> listener) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_listener = std::move(listener);
}

void RecentLines::notifyListener() const {
    std::function<void()> listener;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        listener = m_listener;
    }
    if (listener) {
        listener();
    }
}

}  // namespace ipc_platform
