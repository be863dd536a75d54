// The network front: the port it chooses, and requests handed on without anything unwinding
// into the server library.
#include <string>
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

// Requests reaching the service are proved end to end; here the calls the library may make with
// what it has, and with nobody to hand them to.
TEST_F(ServerManagerTest, NothingUnwindsIntoTheLibrary) {
    startPlatform("\"product.tv_year\": 23");
    ServerManager manager;
    std::vector<std::string> received;
    manager.m_processJsonRequestHook.set(
        [&](unsigned int, const std::string& json) { received.push_back(json); });
    ServerManager::onReceiveCommand(5, nullptr, &manager);
    ServerManager::onReceiveCommand(6, "ignored", nullptr);
    EXPECT_EQ(std::vector<std::string>{""}, received);

    manager.m_processJsonRequestHook.reset();
    ServerManager::onReceiveCommand(7, "{}", &manager);  // must not throw into the library
}

}  // namespace
