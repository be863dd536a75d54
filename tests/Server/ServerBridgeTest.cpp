// The bridge to the HTTP server library: loading, forwarding, failures, and the port choice.
#include <dlfcn.h>

#include <gtest/gtest.h>

#include "Manager/ServerManager.h"
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

TEST(IPControlServerWrapperTest, ForwardsEveryCallToTheLoadedLibrary) {
    FakeLibrary fake(FAKE_SERVER_LIBRARY);
    IPControlServerWrapper wrapper(FAKE_SERVER_LIBRARY);
    EXPECT_EQ(0, wrapper.start(1516));
    EXPECT_EQ(0, wrapper.setCallback(nullptr, nullptr));
    EXPECT_EQ(0, wrapper.sendResponse(7, "{}", true));
    EXPECT_EQ("aa:bb:cc:dd:ee:ff", wrapper.getPeerMacAddr(7));
    EXPECT_EQ("start 1516;callback;send 7 {} denied;", fake.calls());
    EXPECT_EQ(0, wrapper.stop());
    EXPECT_EQ("start 1516;callback;send 7 {} denied;stop;", fake.calls());

    LogCapture log;
    EXPECT_EQ(-1, wrapper.sendResponse(7, "{}", false));
    EXPECT_TRUE(log.contains("Server Library is NULL!!"));
}

TEST(IPControlServerWrapperTest, MissingLibraryLeavesTheServerSilent) {
    LogCapture log;
    IPControlServerWrapper wrapper("/nonexistent/libipcontrol-http-server.so");
    EXPECT_NE(0, wrapper.start(1516));
    EXPECT_TRUE(log.contains("Failed to read ipcontrol server shared lib : "));
    EXPECT_TRUE(log.contains("Server Library is NULL!!"));
    EXPECT_EQ("", wrapper.getPeerMacAddr(1));
}

TEST(IPControlServerWrapperTest, OneMissingSymbolUnloadsTheLibrary) {
    LogCapture log;
    FakeLibrary fake(INCOMPLETE_SERVER_LIBRARY);
    IPControlServerWrapper wrapper(INCOMPLETE_SERVER_LIBRARY);
    EXPECT_NE(0, wrapper.start(1516));
    EXPECT_TRUE(log.contains("Failed to load ipcontrol server symbols"));
    EXPECT_TRUE(log.contains("failed symbol : ipsvr_setCallback"));
    EXPECT_FALSE(log.contains("failed symbol : ipsvr_start"));
    EXPECT_TRUE(log.contains("Server Library is NULL!!"));
    // Unloaded: nothing is forwarded to the symbols that were found.
    EXPECT_EQ(-1, wrapper.sendResponse(1, "{}", false));
    EXPECT_EQ("", fake.calls());
}

class ServerManagerTest : public ::testing::Test {
protected:
    void TearDown() override { ipc_platform::shutdown(); }

    void startPlatform(const std::string& featureconf, unsigned short port = 0) {
        testsupport::writeFile(m_dir.file("profile.json"), testsupport::makeProfile(featureconf));
        ipc_platform::Options options;
        options.dataDir = m_dir.path();
        options.resourceDir = m_dir.path();
        options.profile = m_dir.file("profile.json");
        options.port = port;
        std::string error;
        ASSERT_TRUE(ipc_platform::initialize(options, error)) << error;
    }

    testsupport::TempDir m_dir;
};

TEST_F(ServerManagerTest, PortFollowsModelYear) {
    startPlatform("\"product.tv_year\": 19");
    EXPECT_EQ(1515, ServerManager(true).getPortNum());
    ipc_platform::shutdown();
    startPlatform("\"product.tv_year\": 20");
    EXPECT_EQ(1516, ServerManager(true).getPortNum());
}

TEST_F(ServerManagerTest, HostPortOverridesModelYear) {
    startPlatform("\"product.tv_year\": 23", 8123);
    EXPECT_EQ(8123, ServerManager(true).getPortNum());
}

TEST_F(ServerManagerTest, UnreadableYearCountsAsOld) {
    LogCapture log;
    startPlatform("\"product.product_type\": 0");
    EXPECT_EQ(1515, ServerManager(true).getPortNum());
    EXPECT_TRUE(log.contains("FMS tv_year failed to read"));
}

TEST_F(ServerManagerTest, RequestsReachTheHookAndNothingUnwindsIntoTheLibrary) {
    startPlatform("\"product.tv_year\": 23");
    ServerManager manager(true);
    std::vector<std::pair<unsigned int, std::string>> received;
    manager.m_processJsonRequestHook.set(
        [&](unsigned int id, std::string json) { received.emplace_back(id, json); });
    ServerManager::onReceiveCommand(4, "{\"jsonrpc\":\"2.0\"}", &manager);
    ServerManager::onReceiveCommand(5, nullptr, &manager);
    ServerManager::onReceiveCommand(6, "ignored", nullptr);
    ASSERT_EQ(2u, received.size());
    EXPECT_EQ(4u, received[0].first);
    EXPECT_EQ("{\"jsonrpc\":\"2.0\"}", received[0].second);
    EXPECT_EQ("", received[1].second);

    LogCapture log;
    manager.m_processJsonRequestHook.reset();
    ServerManager::onReceiveCommand(7, "{}", &manager);
    EXPECT_TRUE(log.contains("Exception : bad_function_call"));
}

}  // namespace
