// The plug-in object: owns the service core for the life of the loaded plug-in and serialises
// the host's Init and Deinit. Thread-safe.
#pragma once

#include <mutex>

class IPControlCore;

class IPControlProtocol {
public:
    IPControlProtocol();
    ~IPControlProtocol();

    IPControlProtocol(const IPControlProtocol&) = delete;
    IPControlProtocol& operator=(const IPControlProtocol&) = delete;

    bool Init();
    bool Deinit();

    // The process's one plug-in object, built when the plug-in is loaded.
    static IPControlProtocol& get();

private:
    std::mutex m_mutex;  // serialises Init and Deinit
    IPControlCore* m_core;
};
