// Helpers of the platform tests.
#include "PlatformTestSupport.h"

#include <cstdio>
#include <cstdlib>

#include <glib.h>

namespace platform_test {

std::string takeString(char* text) {
    std::string result = text != nullptr ? text : "<null>";
    free(text);
    return result;
}

void writeByRename(const std::string& path, const std::string& contents) {
    const std::string temporary = path + ".new";
    writeFile(temporary, contents);
    ASSERT_EQ(0, std::rename(temporary.c_str(), path.c_str()));
}

void drainMainLoop() {
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
}

void PlatformTest::TearDown() {
    ipc_platform::shutdown();
    drainMainLoop();
}

std::string PlatformTest::startError(const std::string& profile) {
    m_options.dataDir = m_dataDir.path();
    m_options.resourceDir = IPC_TEST_RESOURCE_DIR;
    m_options.profile = profile;
    std::string error;
    return ipc_platform::initialize(m_options, error) ? std::string() : error;
}

void PlatformTest::start(const std::string& profile) {
    const std::string error = startError(profile);
    ASSERT_EQ("", error);
}

void PlatformTest::restart() {
    ipc_platform::shutdown();
    std::string error;
    ASSERT_TRUE(ipc_platform::initialize(m_options, error)) << error;
}

}  // namespace platform_test
