// One known client of the access manager: its MAC address, token and access class.
#pragma once

#include <cstdint>
#include <string>

// A plain value; the access manager keeps these in insertion order.
struct AuthRecord {
    enum AccessClass : int32_t {
        AUTHORISED = 0,
        DENIED_ONCE = 1,
        DENIED = 2,  // a member of the denied group: refused without asking
    };

    int32_t accessClass = AUTHORISED;
    std::string macAddr;      // as the HTTP server library reports it, "aa:bb:cc:dd:ee:ff"
    std::string accessToken;  // 49 characters; empty for a client that was never allowed

    bool operator==(const AuthRecord& other) const {
        return accessClass == other.accessClass && macAddr == other.macAddr &&
               accessToken == other.accessToken;
    }
};
