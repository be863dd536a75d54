// The running service over HTTP: every request it must refuse is refused with the exact bytes a
// client on the network sees.
#include <csignal>

#include <gtest/gtest.h>

#include "support/DaemonProcess.h"
#include "support/HttpClient.h"
#include "support/PlatformFixture.h"

using testsupport::HttpClient;
using testsupport::HttpResponse;

namespace {

const std::string kParseError = "{\"code\": -32700, \"message\": \"Parse error\"}";

// Sends bytes on the client's connection and waits for the answer (status 0 when none came).
HttpResponse roundTrip(HttpClient& client, const std::string& bytes) {
    if (!client.send(bytes)) {
        return HttpResponse();
    }
    return client.read().value_or(HttpResponse());
}

HttpResponse post(HttpClient& client, const std::string& body) {
    return roundTrip(client,
                     "POST / HTTP/1.1\r\nHost: tv\r\nContent-Type: application/json\r\n"
                     "Content-Length: " +
                         std::to_string(body.size()) + "\r\n\r\n" + body);
}

class RequestRefusalEndToEndTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_port = testsupport::findFreePort();
        ASSERT_TRUE(
            m_daemon.start(IPCONTROLD_PATH, {"--data-dir", m_dir.path(), "--no-upnp", "--port",
                                             std::to_string(m_port), "--admin-port", "0"}));
        // The server listens before the pipeline is wired; the service is ready once started.
        ASSERT_TRUE(m_daemon.waitForOutput("listening on port " + std::to_string(m_port)))
            << m_daemon.output();
        ASSERT_TRUE(m_daemon.waitForOutput("IP control service started")) << m_daemon.output();
    }

    void TearDown() override {
        m_daemon.signal(SIGTERM);
        EXPECT_EQ(0, m_daemon.waitForExit()) << m_daemon.output();
    }

    testsupport::TempDir m_dir;
    testsupport::DaemonProcess m_daemon;
    unsigned short m_port = 0;
};

TEST_F(RequestRefusalEndToEndTest, UnverifiableRequestsGetTheBareParseErrorObject) {
    HttpClient client;
    ASSERT_TRUE(client.connect(m_port));
    const char* const refused[] = {
        " {\"jsonrpc\":\"2.0\"}",
        "not json at all",
        "{\"jsonrpc\":\"2.0\",\"method\":\"powerControl\",\"id\":1}",
        "{\"jsonrpc\":\"2.0\",\"method\":\"powerControl\",\"id\":1,"
        "\"params\":{\"AccessToken\":\"0123456789012345678901234567890123456789012345678\"}}",
        "[{\"jsonrpc\":\"2.0\",\"method\":\"powerControl\",\"id\":1}]",
        "{\"jsonrpc\":\"1.0\",\"method\":\"powerControl\"}",
        "",
    };
    for (const char* body : refused) {
        HttpResponse response = post(client, body);  // one kept-alive connection for all
        EXPECT_EQ(403, response.status) << body;
        EXPECT_EQ(kParseError, response.body) << body;
    }
}

TEST_F(RequestRefusalEndToEndTest, HttpLimitsHold) {
    HttpClient get;
    ASSERT_TRUE(get.connect(m_port));
    EXPECT_EQ(405, roundTrip(get, "GET / HTTP/1.1\r\nHost: tv\r\n\r\n").status);
    HttpClient large;
    ASSERT_TRUE(large.connect(m_port));
    EXPECT_EQ(413, post(large, std::string(65 * 1024, ' ')).status);
    // The service still answers afterwards.
    HttpClient again;
    ASSERT_TRUE(again.connect(m_port));
    EXPECT_EQ(kParseError, post(again, "{}").body);
}

TEST(RequestRefusalPortTest, ModelYear2019ListensOn1515) {
    testsupport::TempDir dir;
    testsupport::DaemonProcess daemon;
    ASSERT_TRUE(daemon.start(IPCONTROLD_PATH, {"--data-dir", dir.path(), "--no-upnp", "--profile",
                                               "tv-2019", "--admin-port", "0"}));
    EXPECT_TRUE(daemon.waitForOutput("on port 1515")) << daemon.output();
    daemon.signal(SIGTERM);
    EXPECT_EQ(0, daemon.waitForExit()) << daemon.output();
}

}  // namespace
