// Helpers of the platform tests.
#include "PlatformTestSupport.h"

#include <cstdio>
#include <cstdlib>

#include <glib.h>

// ThreadSanitizer cannot see GLib's own locks (GLib is not built with it), so GIO handing file
// monitor data to its worker thread looks like a race. Reports in which GLib or GIO code makes an
// access, or allocated the memory, are ignored; the platform's own accesses stay checked.
extern "C" const char* __tsan_default_suppressions() {
    return "race:libglib-2.0.so.0\nrace:libgio-2.0.so.0\n";
}

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
