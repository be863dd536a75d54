// The network front: the port it chooses, and requests handed on without anything unwinding
// into the server library.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Manager/ServerManager.h"
#include "support/PlatformTest.h"

namespace {

class ServerManagerTest : public testsupport::PlatformTest {};

TEST_F(ServerManagerTest, PortFollowsModelYearUnlessTheHostChoosesOne) {
    const struct {
        const char* featureconf;
        int hostPort;
        int port;
    } cases[] = {{"\"product.tv_year\": 19", -1, 1515},
                 {"\"product.tv_year\": 20", -1, 1516},
                 {"\"product.product_type\": 0", -1, 1515},  // no year counts as old
                 {"\"product.tv_year\": 23", 8123, 8123},
                 {"\"product.tv_year\": 23", 0, 0}};  // any free port
    for (const auto& c : cases) {
        startPlatform(c.featureconf, c.hostPort);
        EXPECT_EQ(c.port, ServerManager().getPortNum()) << c.featureconf;
        ipc_platform::shutdown();
    }
}

TEST_F(ServerManagerTest, RequestsReachTheHookAndNothingUnwindsIntoTheLibrary) {
    startPlatform("\"product.tv_year\": 23");
    ServerManager manager;
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

    manager.m_processJsonRequestHook.reset();
    ServerManager::onReceiveCommand(7, "{}", &manager);  // must not throw into the library
}

}  // namespace
