// A raw JSON-RPC request as queued for the worker thread.
#pragma once

#include <string>

// One request as the network front delivered it. A plain value: copied into every job that
// carries it, so any thread may hold its own copy.
struct requestMsg {
    unsigned int clientId = 0;  // the server library's session id; the answer goes back to it
    std::string jsonData;       // the request text as received
    std::string extraData;      // a second text carried along; empty for network requests
};
