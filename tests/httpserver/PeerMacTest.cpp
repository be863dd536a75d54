// Tests of the neighbour-table lookup against the kernel's own ARP listing.
#include <arpa/inet.h>
#include <netinet/in.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "PeerMac.h"

namespace {

sockaddr_storage addressOf(const char* text) {
    sockaddr_storage storage = {};
    auto& v4 = reinterpret_cast<sockaddr_in&>(storage);
    auto& v6 = reinterpret_cast<sockaddr_in6&>(storage);
    if (inet_pton(AF_INET, text, &v4.sin_addr) == 1) {
        v4.sin_family = AF_INET;
    } else if (inet_pton(AF_INET6, text, &v6.sin6_addr) == 1) {
        v6.sin6_family = AF_INET6;
    }
    return storage;
}

TEST(PeerMacTest, FindsEveryCompleteArpEntryAlsoWhenIpv4Mapped) {
    std::ifstream arp("/proc/net/arp");
    std::string line;
    std::getline(arp, line);  // column titles
    int checked = 0;
    while (std::getline(arp, line)) {
        std::istringstream fields(line);
        std::string ip, type, flags, mac;
        fields >> ip >> type >> flags >> mac;
        if (flags != "0x2") {
            continue;  // incomplete or permanent-only entries carry no learned address
        }
        EXPECT_EQ(ipsvr::lookUpPeerMac(addressOf(ip.c_str())), mac) << ip;
        EXPECT_EQ(ipsvr::lookUpPeerMac(addressOf(("::ffff:" + ip).c_str())), mac) << ip;
        ++checked;
    }
    if (checked == 0) {
        GTEST_SKIP() << "the ARP table of this machine has no complete entry to compare with";
    }
}

TEST(PeerMacTest, LoopbackGetsTheFixedAddressAndStrangersNothing) {
    for (const char* loopback : {"127.0.0.1", "127.3.2.1", "::1", "::ffff:127.0.0.1"}) {
        EXPECT_EQ(ipsvr::lookUpPeerMac(addressOf(loopback)), ipsvr::kLoopbackMac) << loopback;
    }
    // Documentation ranges, never on a real link.
    EXPECT_EQ(ipsvr::lookUpPeerMac(addressOf("198.51.100.77")), "");
    EXPECT_EQ(ipsvr::lookUpPeerMac(addressOf("2001:db8::77")), "");
}

}  // namespace
