// Tests of the paired clients interface through the admin API: the list the service hands over
// and the revoke and reset routes that wait for its handlers on the main loop.
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "AdminTestSupport.h"
#include "paired_clients.h"

namespace platform_test {
namespace {

// The service's list as handed over by its owner, tokens cut at a character boundary (a plain
// token is cut in the access manager's screen test).
TEST_F(AdminServerTest, ClientsShowTheOwnersListWithShortenedTokens) {
    startServer();
    int owner = 0;
    int other = 0;
    const paired_clients_client_s clients[] = {
        {"11:22:33:44:55:66", 2, ""},
        {"11:22:33:44:55:77", 1, "\u00e9t\u00e9\u00e9t\u00e9\u00e9t\u00e9"},
        {"11:22:33:44:55:88", 0, "abc"},
        {"11:22:33:44:55:\xff", 1, "ab\xff"}};  // a legacy file may hold any bytes
    EXPECT_EQ(PAIRED_CLIENTS_ERROR_NOT_OWNER, paired_clients_set_list(clients, 3, &owner));
    paired_clients_set_handlers([](const char*, void*) { return 0; }, [](void*) {}, &owner);
    ASSERT_EQ(PAIRED_CLIENTS_ERROR_NONE, paired_clients_set_list(clients, 4, &owner));
    const std::string shown =
        "[{\"MacAddr\":\"11:22:33:44:55:66\",\"AccessClass\":2,\"AccessToken\":\"\"},"
        "{\"MacAddr\":\"11:22:33:44:55:77\",\"AccessClass\":1,"
        "\"AccessToken\":\"\u00e9t\u00e9\u00e9t\u00e9\u2026\"},"
        "{\"MacAddr\":\"11:22:33:44:55:88\",\"AccessClass\":0,\"AccessToken\":\"abc\u2026\"},"
        "{\"MacAddr\":\"11:22:33:44:55:\ufffd\",\"AccessClass\":1,"
        "\"AccessToken\":\"ab\ufffd\u2026\"}]";
    EXPECT_EQ(shown, member(state(), "clients"));
    // Only the owner changes the list; that it goes with the owner's handlers shows in the
    // access manager's screen test.
    EXPECT_EQ(PAIRED_CLIENTS_ERROR_NOT_OWNER, paired_clients_set_list(clients, 1, &other));
}

// What the service reported last: the thread its handlers ran on, and the MAC addresses.
struct ServiceHandlers {
    std::mutex mutex;  // protects the members below
    std::vector<std::string> revoked;
    int resets = 0;
    std::vector<std::thread::id> threads;

    static int revoke(const char* mac, void* self) {
        auto* handlers = static_cast<ServiceHandlers*>(self);
        std::lock_guard<std::mutex> lock(handlers->mutex);
        handlers->revoked.push_back(mac);
        handlers->threads.push_back(std::this_thread::get_id());
        return std::string(mac) == "02:00:00:00:00:01" ? 1 : 0;
    }
    static void reset(void* self) {
        auto* handlers = static_cast<ServiceHandlers*>(self);
        std::lock_guard<std::mutex> lock(handlers->mutex);
        ++handlers->resets;
        handlers->threads.push_back(std::this_thread::get_id());
    }
};

TEST_F(AdminServerTest, ClientRoutesWaitForTheServiceHandlersOnTheMainLoop) {
    startServer();
    EXPECT_EQ(503, requestPumped("DELETE", "/api/clients").status);
    ServiceHandlers handlers;
    ASSERT_EQ(
        PAIRED_CLIENTS_ERROR_NONE,
        paired_clients_set_handlers(ServiceHandlers::revoke, ServiceHandlers::reset, &handlers));
    EXPECT_EQ(200, requestPumped("DELETE", "/api/clients/02%3A00:00:00:00:01").status);
    EXPECT_EQ(404, requestPumped("DELETE", "/api/clients/aa:bb:cc:dd:ee:ff").status);
    EXPECT_EQ(200, requestPumped("DELETE", "/api/clients").status);
    {
        std::lock_guard<std::mutex> lock(handlers.mutex);
        EXPECT_EQ((std::vector<std::string>{"02:00:00:00:00:01", "aa:bb:cc:dd:ee:ff"}),
                  handlers.revoked);
        EXPECT_EQ(1, handlers.resets);
        EXPECT_EQ(std::vector<std::thread::id>(3, std::this_thread::get_id()), handlers.threads);
    }
    // Another owner's unset leaves the handlers; the owner's own removes them.
    int other = 0;
    paired_clients_unset_handlers(&other);
    EXPECT_EQ(200, requestPumped("DELETE", "/api/clients").status);
    paired_clients_unset_handlers(&handlers);
    EXPECT_EQ(503, requestPumped("DELETE", "/api/clients").status);
}

}  // namespace
}  // namespace platform_test
