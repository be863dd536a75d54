// The latest log lines for the admin API.
#include "RecentLines.h"

#include <algorithm>
#include <cstring>

namespace ipc_platform {

RecentLines::RecentLines(size_t capacity) : m_capacity(capacity > 0 ? capacity : 1) {}

void RecentLines::_add(int priority, int64_t timeUs, const char* tag, size_t tagLength,
                       const char* text, size_t textLength) {
    static constexpr char kCutMark[] = "\u2026";
    size_t kept = textLength;
    if (textLength > kMaxText) {
        // Back to the first byte of a character, so that the cut leaves valid UTF-8 valid.
        kept = kMaxText;
        while (kept > 0 && (static_cast<unsigned char>(text[kept]) & 0xC0) == 0x80) {
            --kept;
        }
    }
    const size_t mark = kept < textLength ? sizeof kCutMark - 1 : 0;
    const size_t size = tagLength + kept + mark;
    Slot* slot = nullptr;
    if (m_slots.size() < m_capacity) {
        slot = &m_slots.emplace_back();
    } else {
        // The oldest line's bytes are the first in the byte ring: its room goes to this one.
        slot = &m_slots[m_oldest];
        m_oldest = m_oldest + 1 < m_capacity ? m_oldest + 1 : 0;
        slot->at = m_bytesHead;
    }
    const uint64_t tail = m_slots[m_oldest].at;
    if (m_bytes.empty() || m_bytes.size() - (m_bytesHead - tail) < size) {
        _grow(tail, size);
    }
    slot->sequence = ++m_lastSequence;
    slot->timeUs = timeUs;
    slot->priority = priority;
    slot->tagLength = static_cast<uint32_t>(tagLength);
    slot->textLength = static_cast<uint32_t>(kept + mark);
    slot->at = m_bytesHead;
    const size_t start = static_cast<size_t>(m_bytesHead & (m_bytes.size() - 1));
    if (size <= m_bytes.size() - start) {
        char* at = m_bytes.data() + start;
        memcpy(at, tag, tagLength);
        memcpy(at + tagLength, text, kept);
        if (mark > 0) {
            memcpy(at + tagLength + kept, kCutMark, mark);
        }
    } else {
        _copyIn(m_bytesHead, tag, tagLength);
        _copyIn(m_bytesHead + tagLength, text, kept);
        _copyIn(m_bytesHead + tagLength + kept, kCutMark, mark);
    }
    m_bytesHead += size;
}

void RecentLines::_grow(uint64_t tail, size_t size) {
    const size_t used = static_cast<size_t>(m_bytesHead - tail);
    size_t grown = m_bytes.empty() ? 4096 : m_bytes.size();
    while (grown - used < size) {
        grown *= 2;
    }
    // The kept bytes keep their positions: each goes to its position modulo the new size.
    std::string kept = _copyOut(tail, used);
    m_bytes.assign(grown, '\0');
    _copyIn(tail, kept.data(), kept.size());
}

void RecentLines::_copyIn(uint64_t position, const char* data, size_t size) {
    if (size == 0) {
        return;
    }
    const size_t start = static_cast<size_t>(position & (m_bytes.size() - 1));
    const size_t first = std::min(size, m_bytes.size() - start);
    memcpy(m_bytes.data() + start, data, first);
    if (first < size) {
        memcpy(m_bytes.data(), data + first, size - first);
    }
}

std::string RecentLines::_copyOut(uint64_t position, size_t size) const {
    std::string out(size, '\0');
    if (size > 0) {
        const size_t start = static_cast<size_t>(position & (m_bytes.size() - 1));
        const size_t first = std::min(size, m_bytes.size() - start);
        memcpy(out.data(), m_bytes.data() + start, first);
        memcpy(out.data() + first, m_bytes.data(), size - first);
    }
    return out;
}

std::vector<RecentLines::Entry> RecentLines::lines(int minPriority) const {
    std::vector<Entry> result;
    std::lock_guard<std::mutex> lock(m_mutex);
    for (size_t i = 0; i < m_slots.size(); ++i) {
        const Slot& slot = m_slots[(m_oldest + i) % m_slots.size()];
        if (slot.priority >= minPriority) {
            result.push_back({slot.sequence, slot.timeUs, slot.priority,
                              _copyOut(slot.at, slot.tagLength),
                              _copyOut(slot.at + slot.tagLength, slot.textLength)});
        }
    }
    return result;
}

uint64_t RecentLines::lastSequence() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_lastSequence;
}

void RecentLines::setListener(std::function<void()> listener) {
    auto shared =
        listener ? std::make_shared<const std::function<void()>>(std::move(listener)) : nullptr;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_listener = std::move(shared);
}

void RecentLines::notifyListener() const {
    std::shared_ptr<const std::function<void()>> listener;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        listener = m_listener;
    }
    if (listener) {
        (*listener)();
    }
}

}  // namespace ipc_platform
