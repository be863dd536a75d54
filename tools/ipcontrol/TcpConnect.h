// Opening a TCP connection with a deadline, for the HTTP client and the port probe of discover.
#pragma once

#include <chrono>
#include <string>

// Connects to host:port, trying each address the name resolves to until one accepts or the
// timeout (shared by all of them) runs out. Returns a non-blocking, close-on-exec socket the
// caller closes, or -1 with reason set ("Connection refused", "unknown host: ...").
// Blocks the calling thread; any thread may call it.
int connectWithin(const std::string& host, unsigned short port, std::chrono::milliseconds timeout,
                  std::string& reason);
