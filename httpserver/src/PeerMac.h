// The MAC address of a peer, from the kernel's neighbour table.
#pragma once

#include <sys/socket.h>

#include <string>

namespace ipsvr {

// Loopback peers have no neighbour entry; they get this locally administered address instead.
constexpr const char kLoopbackMac[] = "02:00:00:00:00:01";

// "aa:bb:cc:dd:ee:ff" (lower case) for an IPv4 or IPv6 peer, IPv4-mapped IPv6 counting as IPv4;
// "" when the kernel has no resolved entry for it. Asks rtnetlink each time. Thread-safe.
std::string lookUpPeerMac(const sockaddr_storage& peer);

}  // namespace ipsvr
