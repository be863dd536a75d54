// Bridge to the HTTP server library, loaded at run time with dlopen: owns the library handle and
// the process's table of its five functions.
// Thread-safe: start/stop come from the main loop, sendResponse from the worker and the server
// library's threads, getPeerMacAddr from the server library's thread; the library is unloaded
// only when no call into it is in flight.
#pragma once

#include <shared_mutex>
#include <string>

// The table of the library's functions, typed by the library's own header (in the .cpp only).
struct IPControlServerDelegator;

class IPControlServerWrapper {
public:
    // libraryPath: the server library to load; by default the one beside the plug-in.
    explicit IPControlServerWrapper(std::string libraryPath = defaultLibraryPath());
    ~IPControlServerWrapper();

    IPControlServerWrapper(const IPControlServerWrapper&) = delete;
    IPControlServerWrapper& operator=(const IPControlServerWrapper&) = delete;

    bool loadLibrary();
    bool setupDelegator();
    void unloadLibrary();
    static const IPControlServerDelegator& getDelegator();

    int start(unsigned short port);
    int stop();
    int sendResponse(unsigned int clientId, const std::string& text, bool accessDenied);
    std::string getPeerMacAddr(unsigned int clientId);
    int setCallback(void* callback, void* userData);
    // The port the server listens on; 0 when unknown (not started, or a library without it).
    unsigned short getPort();

    // libipcontrol-http-server.so in the folder of the binary that holds this code.
    static std::string defaultLibraryPath();

private:
    const std::string m_libraryPath;
    // Held shared by every call into the library, exclusively to load or unload it; guards
    // m_handle and the delegator table.
    std::shared_mutex m_mutex;
    void* m_handle;
};
