// Which TVs a command runs on: the words of --tv (NAME, ADDRESS, all, profile:NAME).
#pragma once

#include <map>
#include <string>
#include <vector>

// A TV as discovery or the command line knows it.
struct TvTarget {
    std::string name;         // friendly name; "" when only the address is known
    std::string address;      // IP address or host name
    unsigned short port = 0;  // JSON-RPC port; 0 when none accepted a connection
    std::string model;
    std::string mac;  // from this machine's neighbour table; "" on loopback or IPv6
    std::string udn;
    std::string location;

    // "name (address:port)", or "address:port" without a name.
    std::string label() const;
};

// A plain value built while the command line is parsed; select() runs on the main thread.
class TvSelection {
public:
    // Adds the words of one --tv value: comma-separated NAME, ADDRESS, all or profile:NAME.
    // False with a one-line error for an empty word or profile.
    bool add(const std::string& text, std::string& error);

    bool empty() const { return m_words.empty(); }
    // Anything but addresses needs a search of the network.
    bool needsDiscovery() const;

    // The TVs the words select, in the order found, each once: discovered TVs that match
    // (a name, an address, a profile's model, or all), then addresses given that discovery did
    // not find (port 0: the caller probes). profileModels maps a profile name to the model name
    // its TVs announce; a profile name it lacks is compared with the model itself. unmatched
    // receives the words that selected nothing.
    std::vector<TvTarget> select(const std::vector<TvTarget>& found,
                                 const std::map<std::string, std::string>& profileModels,
                                 std::vector<std::string>& unmatched) const;

private:
    enum class Kind { All, Name, Address, Profile };
    struct Word {
        Kind kind;
        std::string value;
        std::string text;  // as given, for messages
    };

    static bool _matches(const Word& word, const TvTarget& tv,
                         const std::map<std::string, std::string>& profileModels);

    std::vector<Word> m_words;
};

// Profile name to model name, from the profiles shipped in the resource folder (the
// "systemInfo.productCode" a TV of that profile announces as its model).
std::map<std::string, std::string> shippedProfileModels();
