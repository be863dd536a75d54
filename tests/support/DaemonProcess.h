// Test support: runs ipcontrold as a child process and collects what it writes to stderr.
#pragma once

#include <mutex>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace testsupport {

class DaemonProcess {
public:
    ~DaemonProcess();

    // Starts the program with the arguments, its stdout collected too when asked; false when it
    // could not be spawned.
    bool start(const std::string& program, const std::vector<std::string>& args,
               bool mergeStdout = false);
    // Waits until stderr holds the text; false at the deadline or when the process ended first.
    bool waitForOutput(const std::string& text, int timeoutMs = 10000);
    std::string output() const;
    void signal(int signo);
    pid_t pid() const { return m_pid; }
    // Waits for the process to end and returns its exit code (128 + signal when killed,
    // -1 when it did not end in time).
    int waitForExit(int timeoutMs = 10000);

private:
    void readLoop(int fd);

    pid_t m_pid = -1;
    std::thread m_reader;
    mutable std::mutex m_mutex;  // guards m_output
    std::string m_output;
};

// Runs the program to its end and returns its exit code; output receives stdout and stderr.
int runToExit(const std::string& program, const std::vector<std::string>& args,
              std::string& output);

}  // namespace testsupport
