// "ipcontrol discover": the TVs on the local network, with their name, address, JSON-RPC port
// and model.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "Outcome.h"

// Runs on the calling thread: the SSDP search for the timeout, then one description fetch and
// port probe per TV.
class DiscoverCommand {
public:
    static constexpr const char* kDeviceType = "urn:orvane-com:device:IPControlServer:1";
    static constexpr std::chrono::milliseconds kFetchTimeout{3000};
    static constexpr std::chrono::milliseconds kProbeTimeout{500};

    explicit DiscoverCommand(const CommandLine& commandLine);

    Outcome run();

private:
    struct Tv {
        std::string name;
        std::string address;
        int port = 0;  // 0: no JSON-RPC port accepted a connection
        std::string model;
        std::string udn;
        std::string location;
    };

    int _probe(const std::string& address) const;
    std::string _table(const std::vector<Tv>& tvs) const;
    std::string _json(const std::vector<Tv>& tvs) const;

    const CommandLine& m_commandLine;
};
