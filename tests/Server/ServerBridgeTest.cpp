// The bridge to the HTTP server library: loading, forwarding, failures, and the port choice.
#include <dlfcn.h>

#include <gtest/gtest.h>

#include "Manager/ServerManager.h"
#include "Server/external/IPControlServerWrapper.h"
#include "support/PlatformTest.h"

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
    // Stopped: the library is unloaded.
    EXPECT_EQ(-1, wrapper.sendResponse(7, "{}", false));
}

TEST(IPControlServerWrapperTest, MissingLibraryOrSymbolLeavesTheServerSilent) {
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
}

class ServerManagerTest : public testsupport::PlatformTest {};

TEST_F(ServerManagerTest, PortFollowsModelYearUnlessTheHostChoosesOne) {
    const struct {
        const char* featureconf;
        int hostPort;
        int port;
    } cases[] = {{"\"product.tv_year\": 19", -1, 1515},
                 {"\"product.tv_year\": 20", -1, 1516},
                 {"\"product.product_type\": 0", -1, 1515},  // no year counts as old
                 {"\"product.tv_year\": 23", 8123, 8123}};
    for (const auto& c : cases) {
        startPlatform(c.featureconf, c.hostPort);
        EXPECT_EQ(c.port, ServerManager(true).getPortNum()) << c.featureconf;
        ipc_platform::shutdown();
    }
}

TEST_F(ServerManagerTest, RequestsReachTheHookAndNothingUnwindsIntoTheLibrary) {
    startPlatform("\"product.tv_year\": 23");
    ServerManager manager(true);
    std::vector<std::pair<unsigned int, std::string>> received;
    manager.m_processJsonRequestHook.set(
        [&](unsigned int id, const std::string& json) { received.emplace_back(id, json); });
    ServerManager::onReceiveCommand(4, "{\"jsonrpc\":\"2.0\"}", &manager);
    ServerManager::onReceiveCommand(5, nullptr, &manager);
    ServerManager::onReceiveCommand(6, "ignored", nullptr);
    ASSERT_EQ(2u, received.size());
    EXPECT_EQ(4u, received[0].first);
    EXPECT_EQ("{\"jsonrpc\":\"2.0\"}", received[0].second);
    EXPECT_EQ("", received[1].second);

    manager.m_processJsonRequestHook.reset();
    ServerManager::onReceiveCommand(7, "{}", &manager);  // must not throw into the library
}

}  // namespace
