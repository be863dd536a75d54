// Tests of the admin server over real sockets: where it listens, the page's files, what it
// refuses, the event stream, and the limits that keep the TV screen able to connect.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "AdminServer.h"
#include "AdminTestSupport.h"
#include "EventStream.h"

namespace platform_test {
namespace {

// Refused on 127.0.0.2, so not bound to every address.
TEST_F(AdminServerTest, ListensOnIpv4LoopbackOnly) {
    startServer();
    auto connects = [&](const char* address) {
        sockaddr_in target = {};
        target.sin_family = AF_INET;
        target.sin_port = htons(m_port);
        inet_pton(AF_INET, address, &target.sin_addr);
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const bool connected =
            connect(fd, reinterpret_cast<sockaddr*>(&target), sizeof target) == 0;
        close(fd);
        return connected;
    };
    EXPECT_TRUE(connects("127.0.0.1"));
    EXPECT_FALSE(connects("127.0.0.2"));
    HttpClient v6;
    EXPECT_FALSE(v6.connect(m_port, AF_INET6));
}

TEST_F(AdminServerTest, ServesThePageAndNothingOutsideItsFolder) {
    startServer();
    // The browser test (tests/web) loads the page and runs its script.
    EXPECT_EQ("text/html; charset=utf-8", request("GET", "/").header("content-type"));
    EXPECT_EQ("text/javascript; charset=utf-8", request("GET", "/app.js").header("content-type"));
    EXPECT_EQ(405, request("DELETE", "/app.js").status);

    for (const char* path :
         {"/../secret.txt", "/%2e%2e/secret.txt", "/..%2fsecret.txt", "/web/../../secret.txt",
          "//secret.txt", "/link.txt", "/missing.html", "/.", "/index.html/"}) {
        const HttpResponse refused = request("GET", path);
        EXPECT_NE(200, refused.status) << path;
        EXPECT_EQ(std::string::npos, refused.body.find(kSecret)) << path;
    }
}

TEST_F(AdminServerTest, RefusesOtherSitesAndHostNames) {
    startServer();
    PopupEvents popup;
    ASSERT_EQ(NOTIFICATION_ERROR_NONE, postPopup(popup));
    EXPECT_EQ(403,
              request("POST", "/api/notification/allow", "", "Origin: http://elsewhere.example\r\n")
                  .status);
    EXPECT_EQ(403, request("PUT", "/api/settings/deviceName", "\"x\"", "Origin: null\r\n").status);
    HttpClient rebound;
    ASSERT_TRUE(rebound.connect(m_port));
    rebound.send("GET /api/state HTTP/1.1\r\nHost: tv.elsewhere.example\r\n\r\n");
    EXPECT_EQ(403, rebound.read().value_or(HttpResponse()).status);
    EXPECT_NE("null", member(state(), "notification"));

    const std::string ownOrigin = "Origin: http://127.0.0.1:" + std::to_string(m_port) + "\r\n";
    EXPECT_EQ(200, request("POST", "/api/notification/deny", "", ownOrigin).status);
}

TEST_F(AdminServerTest, EventStreamSendsTheStateAtOnceAndAfterSettingChanges) {
    startServer();
    HttpClient stream;
    ASSERT_TRUE(stream.connect(m_port));
    ASSERT_TRUE(stream.send("GET /api/events HTTP/1.1\r\n" + hostHeader() + "\r\n"));
    ASSERT_EQ("text/event-stream", stream.read().value_or(HttpResponse()).header("content-type"));
    const std::optional<std::string> first = stream.readUntil("\n\n");
    ASSERT_TRUE(first);
    EXPECT_NE(std::string::npos, first->find("event: state\ndata: {\"settings\":"));

    // Reads events while the main loop runs, until one holds the text.
    auto awaitEvent = [&](const std::string& text) {
        std::string seen;
        return pumpMainLoopUntil([&] {
            if (auto event = stream.readUntil("\n\n", std::chrono::milliseconds(10))) {
                seen += *event;
            }
            return seen.find(text) != std::string::npos;
        });
    };
    // A hand edit: the store's change callbacks, which the admin API's setters also go through.
    writeByRename(m_dataDir.file("settings.ini"),
                  "[settings]\nipRemoteSupport=1\ndeviceName=Hall\nlanguage=en_US.UTF-8\n"
                  "country=en_US.UTF-8\n");
    EXPECT_TRUE(awaitEvent("\"deviceName\":\"Hall\""));
}

// Changes arriving faster than the spacing are merged, the last one always sent.
TEST(EventStreamTest, ContinuousChangesAreSpacedOutAndTheLastIsSent) {
    ipc_platform::StateBroadcaster broadcaster;
    std::atomic<int> value{0};
    ipc_platform::EventStream stream(
        broadcaster, [&value] { return std::to_string(value.load()); }, std::chrono::seconds(10));
    auto nextEvent = [&stream] {
        std::string text;
        char buffer[64];
        while (text.find("\n\n") == std::string::npos) {
            const ssize_t count = stream.read(buffer, sizeof buffer);
            if (count < 0) {
                return std::string("<closed>");
            }
            text.append(buffer, static_cast<size_t>(count));
        }
        return text.substr(text.find("data: "));
    };
    EXPECT_EQ("data: 0\n\n", nextEvent());

    const auto start = std::chrono::steady_clock::now();
    std::thread writer([&] {
        for (int i = 1; i <= 100; ++i) {
            value = i;
            broadcaster.publish();
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
    int events = 0;
    while (nextEvent() != "data: 100\n\n") {
        ++events;
    }
    writer.join();
    // At most one event per spacing for as long as the changes went on (however long a busy
    // machine made that), where one per change would be 100.
    const auto took = std::chrono::steady_clock::now() - start;
    EXPECT_LE(events, took / ipc_platform::EventStream::kMinSpacing + 1);
    EXPECT_LT(events, 100);
}

// Local programs posing as several hosts hold half requests on every connection they can get:
// the oldest are cut so the TV screen still gets in.
TEST(AdminServerLimitsTest, HalfRequestsFromSeveralAddressesCannotLockOutTheScreen) {
    ipc_platform::AdminServer server(testing::TempDir(), {8, 4, std::chrono::seconds(60)});
    std::string error;
    ASSERT_TRUE(server.start(0, error)) << error;
    std::vector<std::unique_ptr<testsupport::HttpClient>> slow;
    // 20: the 12 cut may all still be closing, on threads of their own, when the screen comes,
    // and libmicrohttpd counts them against its own limit.
    for (int i = 0; i < 20; ++i) {
        slow.push_back(std::make_unique<testsupport::HttpClient>());
        ASSERT_TRUE(
            slow.back()->connectFrom("127.0.1." + std::to_string(1 + i % 6), server.port()));
        slow.back()->send("GET /api/state HTTP/1.1\r\nHost: 127.0.0.1\r\n");  // may be cut
    }
    // Each connection past the total cuts the oldest one, so once the first 12 are cut all 20
    // are in, and the screen's connection cannot be taken for an older one under load.
    for (size_t i = 0; i + 8 < slow.size(); ++i) {
        ASSERT_TRUE(slow[i]->waitClosed()) << i;
    }
    testsupport::HttpClient screen;
    ASSERT_TRUE(screen.connect(server.port()));
    ASSERT_TRUE(screen.send("GET /api/state HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"));
    std::optional<testsupport::HttpResponse> answer = screen.read();
    ASSERT_TRUE(answer);
    EXPECT_EQ(200, answer->status);
    server.stop();
}

// One local program floods from one address, faster than the screen's request is read: at the
// total it is refused rather than let in to push the screen's connection out.
TEST(AdminServerLimitsTest, AFloodingAddressCannotPushOutAnotherWaitingForItsRequest) {
    ipc_platform::AdminServer server(testing::TempDir(), {8, 32, std::chrono::seconds(60)});
    std::string error;
    ASSERT_TRUE(server.start(0, error)) << error;
    const std::string half = "GET /api/state HTTP/1.1\r\nHost: 127.0.0.1\r\n";
    std::vector<std::unique_ptr<testsupport::HttpClient>> slow;
    auto connectSlow = [&] {
        slow.push_back(std::make_unique<testsupport::HttpClient>());
        return slow.back()->connectFrom("127.0.1.1", server.port()) && slow.back()->send(half);
    };
    for (int i = 0; i < 8; ++i) {
        ASSERT_TRUE(connectSlow());
    }
    testsupport::HttpClient screen;
    ASSERT_TRUE(screen.connect(server.port()));
    ASSERT_TRUE(screen.send(half));
    ASSERT_TRUE(slow.front()->waitClosed());  // the screen took its place

    for (int i = 0; i < 16; ++i) {
        connectSlow();
        ASSERT_TRUE(slow.back()->waitClosed()) << i;
    }
    ASSERT_TRUE(screen.send("\r\n"));
    std::optional<testsupport::HttpResponse> answer = screen.read();
    ASSERT_TRUE(answer);
    EXPECT_EQ(200, answer->status);
    server.stop();
}

}  // namespace
}  // namespace platform_test
