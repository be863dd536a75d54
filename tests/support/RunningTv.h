// Test support: a running ipcontrold on a temporary data directory, ports the daemon chose and a
// chosen approval mode, with the requests a client and the TV screen make.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "JsonValue.h"
#include "support/DaemonProcess.h"
#include "support/HttpClient.h"

namespace testsupport {

class RunningTv {
public:
    // dataDir must outlive the TV.
    explicit RunningTv(std::string dataDir);
    ~RunningTv();

    // Announce the TV over UPnP from the next start() on, its server on a port it chooses,
    // instead of starting with --no-upnp.
    void enableUpnp() { m_upnp = true; }
    // Starts the daemon (every port chosen by the daemon and read from its log, UPnP off unless
    // enabled; extra options come last and win) and waits until the service has started; false
    // with the daemon's output in output() otherwise.
    bool start(const std::string& approval = "allow", const std::vector<std::string>& extra = {});
    // SIGTERM and the exit code (0 for a clean stop).
    int stop();

    unsigned short port() const { return m_port; }
    // The daemon's process id while it runs, else -1.
    pid_t pid() const { return m_daemon ? m_daemon->pid() : -1; }
    unsigned short adminPort() const { return m_adminPort; }
    // The UPnP description server's port on 127.0.0.1; 0 without UPnP.
    unsigned short upnpPort() const { return m_upnpPort; }
    // What the daemon wrote so far (after stop(): all of it).
    std::string output() const;

    // One JSON-RPC POST on a fresh connection; status 0 when no answer came.
    HttpResponse post(const std::string& body, int timeoutMs = 40000) const;
    // Pairs and returns the 49-character token, or "" when pairing failed.
    std::string pair() const;
    // A request for the method with the JSON params (AccessToken added when token is given);
    // the parsed response (null when the answer was not JSON).
    common::json::JsonValue call(const std::string& method, const std::string& paramsJson,
                                 const std::string& token) const;
    // A request to the admin API on 127.0.0.1.
    HttpResponse admin(const std::string& method, const std::string& path,
                       const std::string& body = "") const;

private:
    std::string m_dataDir;
    std::unique_ptr<DaemonProcess> m_daemon;
    unsigned short m_port = 0;
    unsigned short m_adminPort = 0;
    unsigned short m_upnpPort = 0;
    bool m_upnp = false;
    std::string m_lastOutput;  // what the daemon wrote, kept after stop()
};

}  // namespace testsupport
