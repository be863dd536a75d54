// Slow and idle connections from several hosts against the server's connection limits, with
// other hosts on 127.0.1.x standing in for the attackers.
#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "HttpServer.h"
#include "support/HttpClient.h"

namespace {

using namespace std::chrono_literals;
using ipsvr::ConnectionGuard;
using ipsvr::HttpServer;
using ipsvr::Reply;
using testsupport::HttpClient;
using testsupport::HttpResponse;

const std::string kHalfHeader = "POST / HTTP/1.1\r\nHost: tv\r\n";
const std::string kRequest = kHalfHeader + "Content-Length: 2\r\n\r\n{}";

std::string attacker(int index) {
    return "127.0.1." + std::to_string(1 + index);
}

// A server whose callback answers {"ok":1} at once, except for bodies "hold", which wait for
// answerHeld().
class SlowClientsTest : public ::testing::Test {
protected:
    void startServer(ConnectionGuard::Limits limits) {
        m_server = std::make_unique<HttpServer>(
            [this](unsigned int id, const char* body) {
                if (std::string(body) == "hold") {
                    std::lock_guard<std::mutex> lock(m_mutex);
                    m_held.push_back(id);
                    m_changed.notify_all();
                    return true;
                }
                m_server->respond(id, Reply::answer(R"({"ok":1})"));
                return true;
            },
            60s, limits);
        ASSERT_EQ(0, m_server->start(0));
        m_port = m_server->port();
    }

    void TearDown() override {
        if (m_server) {
            m_server->stop();
        }
    }

    // A complete request from 127.0.0.1 on a fresh connection.
    HttpResponse ask() { return testsupport::exchange(m_port, kRequest); }

    unsigned int waitForHeld() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_for(lock, 5s, [this] { return !m_held.empty(); });
        return m_held.empty() ? 0 : m_held.front();
    }

    std::unique_ptr<HttpServer> m_server;
    unsigned short m_port = 0;

private:
    std::mutex m_mutex;  // protects m_held
    std::condition_variable m_changed;
    std::vector<unsigned int> m_held;
};

TEST_F(SlowClientsTest, HostsHoldingHalfRequestsCannotLockOutAnotherHost) {
    constexpr int kAddresses = 8;
    constexpr int kPerAddress = 8;
    startServer({24, kPerAddress, 60s});

    // 64 connections with half a header each, far over the total of 24; the first are cut
    // to make room for the later ones.
    std::deque<std::unique_ptr<HttpClient>> slow;
    for (int round = 0; round < kPerAddress; ++round) {
        for (int address = 0; address < kAddresses; ++address) {
            auto client = std::make_unique<HttpClient>();
            ASSERT_TRUE(client->connectFrom(attacker(address), m_port));
            client->send(kHalfHeader);  // refused or cut already: fine
            slow.push_back(std::move(client));
        }
    }
    HttpResponse during = ask();
    EXPECT_EQ(during.status, 200);
    EXPECT_TRUE(slow.front()->waitClosed());

    // The attackers come back on every connection that was cut; still another host gets in.
    for (size_t i = 0; i < slow.size(); ++i) {
        if (slow[i]->waitClosed(0ms)) {
            ASSERT_TRUE(slow[i]->connectFrom(attacker(static_cast<int>(i) % kAddresses), m_port));
            slow[i]->send(kHalfHeader);
        }
    }
    EXPECT_EQ(ask().status, 200);
    slow.clear();
    EXPECT_EQ(ask().status, 200);
}

TEST_F(SlowClientsTest, ARequestMustArriveWholeInTimeButMayWaitForItsAnswer) {
    startServer({64, 8, 1s});

    HttpClient waiting;
    ASSERT_TRUE(waiting.connect(m_port));
    ASSERT_TRUE(waiting.send(kHalfHeader + "Content-Length: 4\r\n\r\nhold"));
    unsigned int held = waitForHeld();
    ASSERT_NE(held, 0u);
    HttpClient idle;
    ASSERT_TRUE(idle.connectFrom(attacker(1), m_port));

    // A byte every 100 ms keeps libmicrohttpd's idle timeout away but not the deadline: the
    // header would take seconds to complete.
    HttpClient trickle;
    ASSERT_TRUE(trickle.connectFrom(attacker(0), m_port));
    const std::string request = kRequest + std::string(40, ' ');
    size_t sent = 0;
    while (sent < request.size() && trickle.send(request.substr(sent, 1)) &&
           !trickle.waitClosed(100ms)) {
        ++sent;
    }
    EXPECT_LT(sent, kHalfHeader.size());
    EXPECT_TRUE(idle.waitClosed());

    // Its deadline has passed too, but its request was whole: it gets its answer.
    ASSERT_TRUE(m_server->respond(held, Reply::answer("{}")));
    std::optional<HttpResponse> answer = waiting.read();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 200);
}

}  // namespace
