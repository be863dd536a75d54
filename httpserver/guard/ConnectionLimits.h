// The connection limits of one HTTP server.
#pragma once

#include <chrono>

namespace ipsvr {

// Plain value, no thread contract.
struct ConnectionLimits {
    unsigned int total;                 // open connections before the longest waiting is cut
    unsigned int perAddress;            // connections from one peer address
    std::chrono::milliseconds arrival;  // for a whole request to come in

    // The file descriptors this process may open beyond a reserve, divided by share (the
    // servers and other users that divide them), at least 8 and at most cap.
    static unsigned int descriptorShare(unsigned int share, unsigned int cap);
};

}  // namespace ipsvr
