// End-to-end tests of libipcontrol-http-server.so through its C functions, over loopback sockets.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <iterator>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "support/HttpClient.h"
#include "support/PlatformFixture.h"
#include "ipsvr.h"

namespace {

using testsupport::HttpClient;
using testsupport::HttpResponse;
using namespace std::chrono_literals;

constexpr auto kWait = 5s;

// Whether the library still knows the client; its peer's MAC address in mac.
bool known(unsigned int clientId, std::string* mac = nullptr) {
    char text[IPSVR_MAC_BUFFER_SIZE] = "not written";
    const bool found = ipsvr_getPeerMacAddr(clientId, text) != IPSVR_ERR_UNKNOWN_CLIENT;
    if (mac != nullptr) {
        *mac = text;
    }
    return found;
}

// A complete POST request carrying body.
std::string post(const std::string& body) {
    return "POST / HTTP/1.1\r\nHost: tv\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
}

bool ipv6LoopbackAvailable() {
    const int fd = socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in6 address = {};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    const bool ok = bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(fd);  // a failed socket() leaves -1, which bind and close refuse
    return ok;
}

// A server on a free port whose callback records every request; the callback runs on the
// server thread, the tests on their own.
class IpsvrServerTest : public ::testing::Test {
protected:
    struct Request {
        unsigned int id;
        std::string body;
    };

    void SetUp() override {
        ipsvr_setResponseTimeoutMs(0);
        ipsvr_setCallback(&IpsvrServerTest::onRequest, this);
        ASSERT_EQ(ipsvr_start(0), IPSVR_OK);
        m_port = static_cast<unsigned short>(ipsvr_getPort());
        ASSERT_NE(m_port, 0);
    }

    void TearDown() override {
        EXPECT_EQ(ipsvr_stop(), IPSVR_OK);
        ipsvr_setCallback(nullptr, nullptr);
    }

    static void onRequest(unsigned int clientId, const char* json, void* self) {
        auto* test = static_cast<IpsvrServerTest*>(self);
        std::function<void(unsigned int)> hook;
        {
            std::lock_guard<std::mutex> lock(test->m_mutex);
            test->m_requests.push_back({clientId, json});
            hook = test->m_hook;
        }
        test->m_arrived.notify_all();
        if (hook) {
            hook(clientId);
        }
    }

    // Runs inside the callback for every later request.
    void setHook(std::function<void(unsigned int)> hook) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_hook = std::move(hook);
    }

    // The index-th request delivered since the test began, once it has come.
    std::optional<Request> waitForRequest(size_t index) {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_arrived.wait_for(lock, kWait, [&] { return m_requests.size() > index; })) {
            return std::nullopt;
        }
        return m_requests[index];
    }

    // Posts body (connecting client first when it is closed) and waits for its delivery.
    std::optional<Request> postAndWait(HttpClient& client, const std::string& body,
                                       int family = AF_INET) {
        size_t index = requestCount();
        if ((!client.isOpen() && !client.connect(m_port, family)) || !client.post(body)) {
            return std::nullopt;
        }
        return waitForRequest(index);
    }

    size_t requestCount() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_requests.size();
    }

    HttpResponse exchange(const std::string& request) {
        return testsupport::exchange(m_port, request);
    }

    unsigned short m_port = 0;

private:
    std::mutex m_mutex;  // protects m_requests and m_hook
    std::condition_variable m_arrived;
    std::vector<Request> m_requests;
    std::function<void(unsigned int)> m_hook;
};

// On one kept-alive connection, whatever its Content-Type: each body delivered as it came with a
// fresh id, each answer sent once from another thread, a refusal with the body given or none.
TEST_F(IpsvrServerTest, EachAnswerReachesItsClientOnceFromAnyThread) {
    const struct {
        std::string answer;
        bool accessDenied;
        int status;
    } answers[] = {
        {R"({"result":12})", false, 200}, {R"({"code":-32010})", true, 403}, {"", true, 403}};
    HttpClient client;
    ASSERT_TRUE(client.connect(m_port));
    unsigned int previous = 0;
    for (size_t i = 0; i < std::size(answers); ++i) {
        SCOPED_TRACE(answers[i].answer);
        const std::string body = R"({"method":"getVolume","id":")" + std::to_string(i) + "\"}";
        ASSERT_TRUE(client.post(body, "Content-Type: application/x-www-form-urlencoded\r\n"));
        std::optional<Request> request = waitForRequest(i);
        ASSERT_TRUE(request);
        EXPECT_NE(request->id, 0u);
        EXPECT_NE(request->id, previous);
        previous = request->id;
        EXPECT_EQ(request->body, body);
        // The test's own thread is not the server's.
        EXPECT_EQ(
            ipsvr_sendResponse(request->id, answers[i].answer.c_str(), answers[i].accessDenied),
            IPSVR_OK);
        std::optional<HttpResponse> response = client.read();
        ASSERT_TRUE(response);
        EXPECT_EQ(response->status, answers[i].status);
        EXPECT_EQ(response->body, answers[i].answer);
        if (answers[i].status == 200) {
            EXPECT_EQ(response->header("content-type"), "application/json");
        }
        EXPECT_EQ(ipsvr_sendResponse(request->id, "{}", false), IPSVR_ERR_UNKNOWN_CLIENT);
    }
    EXPECT_EQ(requestCount(), std::size(answers));

    // An answer sent from inside the callback, on the server's own thread.
    setHook([](unsigned int id) { EXPECT_EQ(ipsvr_sendResponse(id, "{}", false), IPSVR_OK); });
    HttpResponse response = exchange(post("{}"));
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, "{}");
}

TEST_F(IpsvrServerTest, RequestsTheCallbackCannotTakeAreAnsweredByTheServerUpToThe64KiBLimit) {
    HttpResponse response = exchange("GET / HTTP/1.1\r\nHost: tv\r\n\r\n");
    EXPECT_EQ(response.status, 405);
    EXPECT_EQ(response.header("allow"), "POST");

    EXPECT_EQ(exchange(post(std::string(64 * 1024 + 1, 'x'))).status, 413);
    std::string chunk = std::string(8 * 1024, 'x');
    std::string chunked = "POST / HTTP/1.1\r\nHost: tv\r\nTransfer-Encoding: chunked\r\n\r\n";
    for (int i = 0; i < 9; ++i) {
        chunked += "2000\r\n" + chunk + "\r\n";
    }
    EXPECT_EQ(exchange(chunked + "0\r\n\r\n").status, 413);
    EXPECT_EQ(exchange(post(std::string("{\"a\":\0}", 7))).status, 400);
    EXPECT_EQ(requestCount(), 0u);

    // A body of exactly the limit is delivered.
    HttpClient client;
    std::optional<Request> request = postAndWait(client, std::string(64 * 1024, 'x'));
    ASSERT_TRUE(request);
    EXPECT_EQ(request->body.size(), 64u * 1024);
    ASSERT_EQ(ipsvr_sendResponse(request->id, "{}", false), IPSVR_OK);
    ASSERT_TRUE(client.read());

    ipsvr_setCallback(nullptr, nullptr);
    EXPECT_EQ(exchange(post("{}")).status, 503);
}

TEST_F(IpsvrServerTest, AnUnansweredRequestGets504AndIsForgotten) {
    ipsvr_setResponseTimeoutMs(100);
    HttpClient client;
    std::optional<Request> request = postAndWait(client, "{}");
    ASSERT_TRUE(request);
    std::optional<HttpResponse> response = client.read();
    ASSERT_TRUE(response);
    EXPECT_EQ(response->status, 504);
    EXPECT_EQ(ipsvr_sendResponse(request->id, "{}", false), IPSVR_ERR_UNKNOWN_CLIENT);
}

TEST_F(IpsvrServerTest, ClientsLeavingWhilePendingFreeTheirIdsWhetherOrNotOthersWait) {
    // The second request arrives while the first already keeps the hang-up checks going; the
    // third after a quiet spell, when nothing was waiting.
    HttpClient first;
    HttpClient second;
    std::optional<Request> waiting = postAndWait(first, "{}");
    std::optional<Request> leaving = postAndWait(second, "{}");
    ASSERT_TRUE(waiting && leaving);
    second.close();
    EXPECT_TRUE(testsupport::pumpMainLoopUntil([&] { return !known(leaving->id); }));
    EXPECT_TRUE(known(waiting->id));
    EXPECT_EQ(ipsvr_sendResponse(leaving->id, "{}", false), IPSVR_ERR_UNKNOWN_CLIENT);
    first.close();
    EXPECT_TRUE(testsupport::pumpMainLoopUntil([&] { return !known(waiting->id); }));

    HttpClient third;
    std::optional<Request> last = postAndWait(third, "{}");
    ASSERT_TRUE(last);
    third.close();
    EXPECT_TRUE(testsupport::pumpMainLoopUntil([&] { return !known(last->id); }));
    EXPECT_EQ(ipsvr_sendResponse(last->id, "{}", false), IPSVR_ERR_UNKNOWN_CLIENT);
}

TEST_F(IpsvrServerTest, StopAnswersPendingRequestsAndStartTellsABusyPort) {
    EXPECT_EQ(ipsvr_start(m_port), IPSVR_ERR_ALREADY_STARTED);
    HttpClient client;
    std::optional<Request> request = postAndWait(client, "{}");
    ASSERT_TRUE(request);

    ASSERT_EQ(ipsvr_stop(), IPSVR_OK);
    std::optional<HttpResponse> response = client.read();
    if (response) {
        EXPECT_EQ(response->status, 503);
    }
    EXPECT_LT(ipsvr_sendResponse(request->id, "{}", false), 0);
    EXPECT_EQ(ipsvr_stop(), IPSVR_OK);
    EXPECT_EQ(ipsvr_getPort(), IPSVR_ERR_NOT_STARTED);

    unsigned short held = 0;
    const int busy = testsupport::holdLoopbackPort(held, true);
    ASSERT_GE(busy, 0);
    EXPECT_EQ(ipsvr_start(held), IPSVR_ERR_PORT_IN_USE);
    close(busy);

    // The port it had serves again.
    ASSERT_EQ(ipsvr_start(m_port), IPSVR_OK);
    client.close();
    request = postAndWait(client, "{}");
    ASSERT_TRUE(request);
    ASSERT_EQ(ipsvr_sendResponse(request->id, "{}", false), IPSVR_OK);
    response = client.read();
    ASSERT_TRUE(response);
    EXPECT_EQ(response->status, 200);
}

// IPv4 peers get it in the pairing end-to-end test; here the IPv6 side of the one socket.
TEST_F(IpsvrServerTest, Ipv6LoopbackPeerGetsTheFixedMac) {
    if (!ipv6LoopbackAvailable()) {
        GTEST_SKIP() << "no IPv6 loopback on this machine";
    }
    HttpClient client;
    std::optional<Request> request = postAndWait(client, "{}", AF_INET6);
    ASSERT_TRUE(request);
    std::string mac;
    EXPECT_TRUE(known(request->id, &mac));
    EXPECT_EQ(mac, "02:00:00:00:00:01");
}

TEST_F(IpsvrServerTest, ConcurrentRequestsEachGetTheirOwnAnswer) {
    constexpr size_t kClients = 16;
    std::vector<HttpClient> clients(kClients);
    for (size_t i = 0; i < kClients; ++i) {
        ASSERT_TRUE(clients[i].connect(m_port));
        ASSERT_TRUE(clients[i].post(std::to_string(i)));
    }
    std::vector<Request> requests;
    for (size_t i = 0; i < kClients; ++i) {
        std::optional<Request> request = waitForRequest(i);
        ASSERT_TRUE(request);
        requests.push_back(*request);
    }
    std::vector<std::thread> answerers;
    for (size_t t = 0; t < 4; ++t) {
        answerers.emplace_back([&requests, t] {
            for (size_t i = t; i < requests.size(); i += 4) {
                EXPECT_EQ(ipsvr_sendResponse(requests[i].id, requests[i].body.c_str(), false),
                          IPSVR_OK);
            }
        });
    }
    for (std::thread& answerer : answerers) {
        answerer.join();
    }
    for (size_t i = 0; i < kClients; ++i) {
        std::optional<HttpResponse> response = clients[i].read();
        ASSERT_TRUE(response);
        EXPECT_EQ(response->body, std::to_string(i));
    }
}

}  // namespace
