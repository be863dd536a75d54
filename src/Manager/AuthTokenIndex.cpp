// The token index of the access manager's list.
#include "Manager/AuthTokenIndex.h"

#include <algorithm>

void AuthTokenIndex::rebuild(const std::vector<AuthRecord>& list) {
    m_positions.clear();
    for (size_t position = 0; position < list.size(); ++position) {
        added(position, list[position].accessToken);
    }
}

void AuthTokenIndex::added(size_t position, const std::string& token) {
    m_positions[token].push_back(position);
}

void AuthTokenIndex::changed(size_t position, const std::string& before, const std::string& after) {
    if (before == after) {
        return;
    }
    auto old = m_positions.find(before);
    if (old != m_positions.end()) {
        std::vector<size_t>& positions = old->second;
        positions.erase(std::remove(positions.begin(), positions.end(), position), positions.end());
        if (positions.empty()) {
            m_positions.erase(old);
        }
    }
    std::vector<size_t>& positions = m_positions[after];
    positions.insert(std::upper_bound(positions.begin(), positions.end(), position), position);
}

void AuthTokenIndex::clear() {
    m_positions.clear();
}

size_t AuthTokenIndex::firstWith(const std::string& token) const {
    auto it = m_positions.find(token);
    return it == m_positions.end() ? npos : it->second.front();
}
