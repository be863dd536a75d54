// Helpers of the platform tests on top of the shared test support: a platform brought up on a
// temporary data folder with the shipped profiles, editor-like file writes, pop-ups.
#pragma once

#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "PlatformRuntime.h"
#include "notification.h"
#include "support/PlatformFixture.h"

namespace platform_test {

using testsupport::drainMainLoop;
using testsupport::pumpMainLoopUntil;
using testsupport::readFile;
using testsupport::TempDir;
using testsupport::writeFile;

// The text of a malloc'd string, which it frees; "<null>" for a null pointer.
std::string takeString(char* text);
// Writes a new file beside path and renames it over path, as an editor that saves safely does.
void writeByRename(const std::string& path, const std::string& contents);

// The events a pop-up's callback received and the threads they arrived on. Thread-safe.
class PopupEvents {
public:
    static void record(notification_h noti, int event, void* self);
    std::vector<int> events() const;
    // True when every event arrived on the thread that created this recorder.
    bool allOnCreatingThread() const;

private:
    const std::thread::id m_creator = std::this_thread::get_id();
    mutable std::mutex m_mutex;  // guards m_events and m_threads
    std::vector<int> m_events;
    std::vector<std::thread::id> m_threads;
};

// Posts a pop-up as the pairing code does (title, content, buttons Allow, Deny and Close, the
// active pop-up area, a hide timeout, a layout and a tag) with events going to events; returns
// the result of the post.
int postPopup(PopupEvents& events, const std::string& title = "IP Remote", int hideSeconds = 30);

// Base fixture: a temporary data folder, the shipped profiles as resources, and a shutdown of
// the platform after each test.
class PlatformTest : public ::testing::Test {
protected:
    void TearDown() override;

    // Initialises with the given profile (a name of a shipped profile or a path); fails the test
    // when initialisation fails.
    void start(const std::string& profile = "tv-2023");
    // Initialises and returns the error; empty when initialisation succeeded.
    std::string startError(const std::string& profile = "tv-2023");
    void restart();

    TempDir m_dataDir;
    ipc_platform::Options m_options;
};

}  // namespace platform_test
