// Helpers of the platform tests on top of the shared test support: a platform brought up on a
// temporary data folder with the shipped profiles, editor-like file writes, named test cases.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "PlatformRuntime.h"
#include "support/PlatformFixture.h"

namespace platform_test {

using testsupport::pumpMainLoopUntil;
using testsupport::readFile;
using testsupport::TempDir;
using testsupport::writeFile;

// The text of a malloc'd string, which it frees; "<null>" for a null pointer.
std::string takeString(char* text);
// Writes a new file beside path and renames it over path, as an editor that saves safely does.
void writeByRename(const std::string& path, const std::string& contents);
// Runs whatever the default main context has ready, without waiting.
void drainMainLoop();

// A named case of a parameterised test; CaseName() makes the name part of the test's name.
struct NamedText {
    const char* name;
    const char* text;
};
struct CaseName {
    template <typename Info>
    std::string operator()(const Info& info) const {
        return info.param.name;
    }
};

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
