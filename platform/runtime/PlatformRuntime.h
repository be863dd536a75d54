// Brings the Linux platform up for one process: options from the host, product profile,
// settings file, key-value store. Main-loop thread for initialize/shutdown; the getters are
// thread-safe once initialize has returned.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace ipc_platform {

class AdminServer;
class ProductProfile;

struct Options {
    std::string dataDir;      // created by the host; holds settings, key-value store, auth list
    std::string resourceDir;  // the installed data/ folder (profiles/, locale/, icons/)
    std::string profile;      // a profile name under resourceDir/profiles, or a file path
    int port = -1;            // JSON-RPC port; -1: by the product's model year, 0: any free port
    // The admin server (TV screen page and admin API) on 127.0.0.1; off unless the host asks.
    // Port 0 lets the kernel choose (the chosen port is logged and reported by adminPort()).
    bool adminServer = false;
    unsigned short adminPort = 8515;
    std::string approval = "screen";  // screen | allow | deny | ignore
    bool upnpEnabled = true;
    // The UPnP description server's TCP port: -1 keeps the port the device asks for, 0 lets the
    // kernel choose (for several services on one machine).
    int upnpPort = -1;
    // Random tokens, no match for an empty or malformed token, tokens shortened in logs.
    bool hardenedSecurity = false;
};

// Loads the profile, the settings file (written with first-start values when missing) and the
// key-value store, starts watching the settings file, sets up notifications with the approval
// backend and, when asked, starts the admin server (logging "TV screen and admin API on
// http://127.0.0.1:<port>/"). On failure, or when the platform is already initialised, returns
// false, leaves nothing initialised and sets error to one line naming the file or port and the
// reason.
bool initialize(const Options& options, std::string& error);

// Stops the admin server, takes any pop-up down without an event, stops watching the settings
// file, drops pending callbacks and forgets the loaded state.
void shutdown();

bool isInitialized();
const Options& options();
// The port the admin server listens on; 0 when it does not run.
unsigned short adminPort();
// The admin server, for parts outside the platform that add their state section and routes
// (see AdminServer.h); null when the platform is not initialised or runs without it.
// Thread-safe.
std::shared_ptr<AdminServer> adminServer();
// A part without which the service is no use (a port it cannot listen on) reports why, in one
// sentence that says what to do. The reason is logged as an error and kept; the host then stops
// with status 1, before signalling readiness when the report comes while the service starts.
// Main-loop thread.
void reportFatalError(const std::string& reason);
// The first reason reported since initialize began (the admin port's when it failed
// initialize); "" when none.
std::string fatalError();
// Runs after each report, for a host whose service already runs. Main-loop thread.
void setFatalErrorHandler(std::function<void()> handler);

// The loaded product profile; null when the platform is not initialised. Thread-safe.
std::shared_ptr<const ProductProfile> productProfile();

// Absolute path of the profile file that `name` designates: a path (relative to the working
// folder) when it contains '/' or ends in ".json", otherwise resourceDir/profiles/<name>.json;
// an empty name designates the default profile "tv-2023".
std::string resolveProfilePath(const std::string& name, const std::string& resourceDir);

}  // namespace ipc_platform
