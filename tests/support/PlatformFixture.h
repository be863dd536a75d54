// Test support: a platform brought up on a temporary data directory with a profile written by
// the test, a log capture, and a bounded main-loop pump.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "PlatformRuntime.h"
#include "dlog.h"

namespace testsupport {

// Collects platform log lines ("TAG: message") while alive.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    bool contains(const std::string& text) const;
    size_t count(const std::string& text) const;
    void clear();

private:
    static void sink(log_priority prio, const char* tag, const char* message, void* self);
    mutable std::mutex m_mutex;  // guards m_lines
    std::vector<std::string> m_lines;
};

// A fresh temporary folder, removed with its contents at destruction.
class TempDir {
public:
    TempDir();
    ~TempDir();
    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

void writeFile(const std::string& path, const std::string& contents);
std::string readFile(const std::string& path);
// The lines of a file without their line ends (a last line without one included).
std::vector<std::string> readLines(const std::string& path);

// Runs the default main context until done() or the deadline; returns done().
bool pumpMainLoopUntil(const std::function<bool()>& done, int timeoutMs = 5000);
// Runs whatever the default main context has ready, without waiting.
void drainMainLoop();

// A profile with the given featureconf members (JSON text of the object's body, e.g.
// "\"product.tv_year\": 23").
std::string makeProfile(const std::string& featureconfMembers);

// Initialises the platform on dataDir with the profile text written next to it; port -1 leaves
// the JSON-RPC port to the model year.
bool startPlatform(const TempDir& dir, const std::string& profileJson, std::string& error,
                   int port = -1, bool hardenedSecurity = false);

}  // namespace testsupport
