// "ipcontrol discover": the TVs on the local network, with their name, address, JSON-RPC port
// and model.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "Outcome.h"
#include "TvSelection.h"

// Called on the main thread: the SSDP search for the timeout, then the description fetch and
// port probe of each TV, several at once on worker threads.
class DiscoverCommand {
public:
    static constexpr const char* kDeviceType = "urn:orvane-com:device:IPControlServer:1";
    static constexpr std::chrono::milliseconds kFetchTimeout{3000};
    static constexpr std::chrono::milliseconds kProbeTimeout{500};
    static constexpr size_t kParallel = 16;  // descriptions fetched at once

    explicit DiscoverCommand(const CommandLine& commandLine);

    Outcome run();
    // The search alone, also for choosing TVs by name or profile: each TV that answered,
    // described and probed. False with the failure's outcome when the network cannot be
    // searched; an empty list is not a failure here.
    bool find(std::vector<TvTarget>& tvs, Outcome& failure) const;
    // The JSON-RPC port that accepts a connection at address (the --port given, else 1516
    // then 1515), or 0.
    unsigned short probe(const std::string& address) const;

    // The MAC address the neighbour table (/proc/net/arp) holds for an IPv4 address, or "":
    // each TV is a device of its own to the TV's access control, told apart by it.
    static std::string neighbourMac(const std::string& address,
                                    const std::string& table = "/proc/net/arp");

private:
    std::string _table(const std::vector<TvTarget>& tvs) const;
    std::string _json(const std::vector<TvTarget>& tvs) const;

    const CommandLine& m_commandLine;
};
