// The bridge to the HTTP server library: loading, forwarding and failures.
#include <dlfcn.h>

#include <gtest/gtest.h>

#include "Server/external/IPControlServerWrapper.h"
#include "support/PlatformFixture.h"

using testsupport::LogCapture;

namespace {

// Holds the stand-in loaded for the whole test, so its call record outlives the wrapper's
// unloading.
class FakeLibrary {
public:
    explicit FakeLibrary(const char* path) : m_handle(dlopen(path, RTLD_NOW)) {}
    ~FakeLibrary() {
        if (m_handle != nullptr) {
            dlclose(m_handle);
        }
    }
    std::string calls() const {
        auto record = reinterpret_cast<const char* (*)()>(dlsym(m_handle, "fake_server_calls"));
        return record != nullptr ? record() : "<not loaded>";
    }

private:
    void* m_handle;
};

TEST(IPControlServerWrapperTest, MissingLibraryOrSymbolLeavesTheServerSilentAndStopUnloads) {
    IPControlServerWrapper missing("/nonexistent/libipcontrol-http-server.so");
    EXPECT_NE(0, missing.start(1516));
    EXPECT_EQ("", missing.getPeerMacAddr(1));

    LogCapture log;
    FakeLibrary fake(INCOMPLETE_SERVER_LIBRARY);
    IPControlServerWrapper incomplete(INCOMPLETE_SERVER_LIBRARY);
    EXPECT_NE(0, incomplete.start(1516));
    EXPECT_TRUE(log.contains("failed symbol : ipsvr_setCallback"));
    // Unloaded: nothing is forwarded to the symbols that were found.
    EXPECT_EQ(-1, incomplete.sendResponse(1, "{}", false));
    EXPECT_EQ("", fake.calls());

    // Every daemon run forwards through a loaded library; once stopped, it is unloaded.
    FakeLibrary complete(FAKE_SERVER_LIBRARY);
    IPControlServerWrapper wrapper(FAKE_SERVER_LIBRARY);
    EXPECT_EQ(0, wrapper.start(1516));
    EXPECT_EQ(0, wrapper.stop());
    EXPECT_EQ(-1, wrapper.sendResponse(7, "{}", false));
    EXPECT_EQ("start 1516;stop;", complete.calls());
}

}  // namespace
