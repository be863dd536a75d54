// Test support for code that runs on the platform.
#include "support/PlatformFixture.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <glib.h>
#include <glib/gstdio.h>

#include "dlog.h"

namespace testsupport {

LogCapture::LogCapture() {
    dlog_set_sink(&LogCapture::sink, this);
}

LogCapture::~LogCapture() {
    dlog_set_sink(nullptr, nullptr);
}

void LogCapture::sink(log_priority /*prio*/, const char* tag, const char* message, void* self) {
    auto* capture = static_cast<LogCapture*>(self);
    std::lock_guard<std::mutex> lock(capture->m_mutex);
    capture->m_lines.push_back(std::string(tag) + ": " + message);
}

size_t LogCapture::count(const std::string& text) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return std::count_if(m_lines.begin(), m_lines.end(), [&text](const std::string& line) {
        return line.find(text) != std::string::npos;
    });
}

bool LogCapture::contains(const std::string& text) const {
    return count(text) > 0;
}

void LogCapture::clear() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_lines.clear();
}

TempDir::TempDir() {
    g_autofree gchar* dir = g_dir_make_tmp("ipctest-XXXXXX", nullptr);
    m_path = dir != nullptr ? dir : "";
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

void writeFile(const std::string& path, const std::string& contents) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << contents;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<std::string> readLines(const std::string& path) {
    std::vector<std::string> lines;
    std::istringstream text(readFile(path));
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}

bool pumpMainLoopUntil(const std::function<bool()>& done, int timeoutMs) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!done()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        if (!g_main_context_iteration(nullptr, FALSE)) {
            g_usleep(2000);
        }
    }
    return true;
}

void drainMainLoop() {
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
}

std::string makeProfile(const std::string& featureconfMembers) {
    return "{\"name\": \"test\", \"deviceName\": \"[TV] Test\", \"featureconf\": {" +
           featureconfMembers +
           "}, \"systemInfo\": {\"swVersion\": \"T-1\", \"serialNumber\": \"S-1\", "
           "\"productCode\": \"P-1\"}}";
}

bool startPlatform(const TempDir& dir, const std::string& profileJson, std::string& error, int port,
                   bool hardenedSecurity) {
    std::string profilePath = dir.file("profile.json");
    writeFile(profilePath, profileJson);
    ipc_platform::Options options;
    options.dataDir = dir.path();
    options.resourceDir = dir.path();
    options.profile = profilePath;
    options.port = port;
    options.hardenedSecurity = hardenedSecurity;
    return ipc_platform::initialize(options, error);
}

}  // namespace testsupport
