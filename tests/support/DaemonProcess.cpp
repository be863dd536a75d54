// Test support: child process control for end-to-end tests.
#include "support/DaemonProcess.h"

#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace testsupport {

namespace {

pid_t spawn(const std::string& program, const std::vector<std::string>& args, int outFd,
            bool mergeStdout) {
    pid_t pid = fork();
    if (pid != 0) {
        return pid;
    }
    dup2(outFd, STDERR_FILENO);
    if (mergeStdout) {
        dup2(outFd, STDOUT_FILENO);
    }
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const std::string& arg : args) {
        argv.push_back(const_cast<char*>(arg.c_str()));
    }
    argv.push_back(nullptr);
    execv(program.c_str(), argv.data());
    _exit(127);
}

int exitCodeOf(int status) {
    if (WIFEXITED(status)) {
        return WEXITSTATUS(status);
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : -1;
}

}  // namespace

DaemonProcess::~DaemonProcess() {
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        waitForExit(5000);
    }
    if (m_reader.joinable()) {
        m_reader.join();
    }
}

bool DaemonProcess::start(const std::string& program, const std::vector<std::string>& args,
                          bool mergeStdout) {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) {
        return false;
    }
    m_pid = spawn(program, args, fds[1], mergeStdout);
    close(fds[1]);
    if (m_pid < 0) {
        close(fds[0]);
        return false;
    }
    m_reader = std::thread(&DaemonProcess::readLoop, this, fds[0]);
    return true;
}

void DaemonProcess::readLoop(int fd) {
    char buffer[4096];
    ssize_t n;
    while ((n = read(fd, buffer, sizeof(buffer))) > 0) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_output.append(buffer, static_cast<size_t>(n));
    }
    close(fd);
}

bool DaemonProcess::waitForOutput(const std::string& text, int timeoutMs) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (std::chrono::steady_clock::now() < deadline) {
        if (output().find(text) != std::string::npos) {
            return true;
        }
        siginfo_t ended = {};
        // waitid, not waitpid: only waitid can look without reaping (WNOWAIT).
        if (m_pid > 0 &&
            waitid(P_PID, static_cast<id_t>(m_pid), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
            ended.si_pid == m_pid) {
            // Ended: whatever it wrote is in the pipe or already read.
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            return output().find(text) != std::string::npos;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

std::string DaemonProcess::output() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_output;
}

void DaemonProcess::signal(int signo) {
    if (m_pid > 0) {
        kill(m_pid, signo);
    }
}

int DaemonProcess::waitForExit(int timeoutMs) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (m_pid > 0) {
        int status = 0;
        pid_t done = waitpid(m_pid, &status, WNOHANG);
        if (done == m_pid) {
            m_pid = -1;
            if (m_reader.joinable()) {
                m_reader.join();
            }
            return exitCodeOf(status);
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return -1;
}

int runToExit(const std::string& program, const std::vector<std::string>& args,
              std::string& output) {
    DaemonProcess process;
    if (!process.start(program, args, true)) {
        return -1;
    }
    const int code = process.waitForExit(120000);
    output += process.output();
    return code;
}

}  // namespace testsupport
