// Which record of the access manager's list first carries each token.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "Manager/AuthRecord.h"

// Answers "the first record holding this token" in constant time however long the list grows.
// It stores list positions, so its owner tells it of every change to the list: an append, a
// token replaced in place, a clear; anything else (records removed from the middle) is a
// rebuild. The access class plays no part. Not thread-safe: the access manager's lock covers it.
class AuthTokenIndex {
public:
    static constexpr size_t npos = static_cast<size_t>(-1);

    // Forgets everything and indexes list.
    void rebuild(const std::vector<AuthRecord>& list);
    // A record holding token now sits at position, behind every record indexed so far.
    void added(size_t position, const std::string& token);
    // The record at position held before and now holds after.
    void changed(size_t position, const std::string& before, const std::string& after);
    void clear();

    // The position of the first record holding exactly token (an empty one too), or npos.
    size_t firstWith(const std::string& token) const;

private:
    // The positions of the records holding each token, ascending.
    std::unordered_map<std::string, std::vector<size_t>> m_positions;
};
