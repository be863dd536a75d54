// The MAC address of a peer, from the kernel's neighbour table.
#include "PeerMac.h"

#include <linux/neighbour.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <netinet/in.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

namespace ipsvr {

namespace {

constexpr size_t kMacLength = 6;

// An address in the form the neighbour table keys it by.
struct IpAddress {
    int family = AF_UNSPEC;
    unsigned char bytes[16] = {};
    size_t length = 0;
};

IpAddress normalise(const sockaddr_storage& peer) {
    IpAddress address;
    if (peer.ss_family == AF_INET) {
        const auto& v4 = reinterpret_cast<const sockaddr_in&>(peer);
        address.family = AF_INET;
        address.length = 4;
        std::memcpy(address.bytes, &v4.sin_addr, 4);
    } else if (peer.ss_family == AF_INET6) {
        const auto& v6 = reinterpret_cast<const sockaddr_in6&>(peer);
        if (IN6_IS_ADDR_V4MAPPED(&v6.sin6_addr)) {
            address.family = AF_INET;
            address.length = 4;
            std::memcpy(address.bytes, v6.sin6_addr.s6_addr + 12, 4);
        } else {
            address.family = AF_INET6;
            address.length = 16;
            std::memcpy(address.bytes, &v6.sin6_addr, 16);
        }
    }
    return address;
}

bool isLoopback(const IpAddress& address) {
    static const unsigned char kLoopback6[16] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    if (address.family == AF_INET) {
        return address.bytes[0] == 127;
    }
    return address.family == AF_INET6 && std::memcmp(address.bytes, kLoopback6, 16) == 0;
}

std::string formatMac(const unsigned char* mac) {
    char text[sizeof kLoopbackMac];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2],
                  mac[3], mac[4], mac[5]);
    return text;
}

// The link-layer address in one RTM_NEWNEIGH message when its destination is address.
std::string macIn(const nlmsghdr* message, const IpAddress& address) {
    const auto* neighbour = static_cast<const ndmsg*>(NLMSG_DATA(message));
    if (neighbour->ndm_family != address.family ||
        (neighbour->ndm_state & (NUD_INCOMPLETE | NUD_FAILED)) != 0) {
        return {};
    }
    bool matches = false;
    const unsigned char* mac = nullptr;
    int length = static_cast<int>(NLMSG_PAYLOAD(message, sizeof(ndmsg)));
    const auto* first = reinterpret_cast<const rtattr*>(reinterpret_cast<const char*>(neighbour) +
                                                        NLMSG_ALIGN(sizeof(ndmsg)));
    for (const rtattr* attribute = first; RTA_OK(attribute, length);
         attribute = RTA_NEXT(attribute, length)) {
        size_t size = RTA_PAYLOAD(attribute);
        if (attribute->rta_type == NDA_DST) {
            matches = size == address.length &&
                      std::memcmp(RTA_DATA(attribute), address.bytes, address.length) == 0;
        } else if (attribute->rta_type == NDA_LLADDR && size == kMacLength) {
            mac = static_cast<const unsigned char*>(RTA_DATA(attribute));
        }
    }
    return matches && mac != nullptr ? formatMac(mac) : std::string();
}

// Dumps the neighbour table of the address's family and picks the entry for it.
std::string queryNeighbourTable(const IpAddress& address) {
    int fd = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (fd < 0) {
        return {};
    }
    timeval timeout = {1, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);

    struct {
        nlmsghdr header;
        ndmsg body;
    } request = {};
    request.header.nlmsg_len = NLMSG_LENGTH(sizeof(ndmsg));
    request.header.nlmsg_type = RTM_GETNEIGH;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request.header.nlmsg_seq = 1;
    request.body.ndm_family = static_cast<unsigned char>(address.family);
    sockaddr_nl kernel = {};
    kernel.nl_family = AF_NETLINK;

    std::string found;
    if (sendto(fd, &request, request.header.nlmsg_len, 0, reinterpret_cast<sockaddr*>(&kernel),
               sizeof kernel) >= 0) {
        alignas(nlmsghdr) char buffer[16384];
        bool done = false;
        while (!done) {
            ssize_t received = recv(fd, buffer, sizeof buffer, 0);
            if (received <= 0) {
                break;
            }
            int length = static_cast<int>(received);
            for (auto* message = reinterpret_cast<nlmsghdr*>(buffer); NLMSG_OK(message, length);
                 message = NLMSG_NEXT(message, length)) {
                if (message->nlmsg_type == NLMSG_DONE || message->nlmsg_type == NLMSG_ERROR) {
                    done = true;
                    break;
                }
                if (message->nlmsg_type == RTM_NEWNEIGH && found.empty()) {
                    found = macIn(message, address);
                }
            }
        }
    }
    close(fd);
    return found;
}

}  // namespace

std::string lookUpPeerMac(const sockaddr_storage& peer) {
    IpAddress address = normalise(peer);
    if (address.family == AF_UNSPEC) {
        return {};
    }
    if (isLoopback(address)) {
        return kLoopbackMac;
    }
    return queryNeighbourTable(address);
}

}  // namespace ipsvr
