// The access manager's tokens: how a new one is made and what a valid one looks like.
#pragma once

#include <string>

#include "Manager/AuthTokenIndex.h"

// Stateless; thread-safe. The mode (default or hardened) is the platform's SecurityMode.
class AccessToken {
public:
    static constexpr int kLength = 49;

    // A new token. By default made from the clock, so it depends only on the second it is made
    // in; in the hardened mode drawn from the kernel's random source (each character equally
    // likely) again until no record in index holds it. Empty if the random source fails.
    static std::string make(const AuthTokenIndex& index);
    // True for kLength characters of the token alphabet.
    static bool isWellFormed(const std::string& token);
};
