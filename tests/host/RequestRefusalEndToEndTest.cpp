// The running service over HTTP: every request it must refuse is refused with the exact bytes a
// client on the network sees. The HTTP limits are checked on the server library itself.
#include <gtest/gtest.h>

#include "support/HttpClient.h"
#include "support/PlatformFixture.h"
#include "support/RunningTv.h"

using testsupport::HttpClient;
using testsupport::HttpResponse;

namespace {

const std::string kParseError = "{\"code\": -32700, \"message\": \"Parse error\"}";

// Posts body on the client's connection and waits for the answer (status 0 when none came).
HttpResponse post(HttpClient& client, const std::string& body) {
    if (!client.post(body, "Content-Type: application/json\r\n")) {
        return HttpResponse();
    }
    return client.read().value_or(HttpResponse());
}

class RequestRefusalEndToEndTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_tv.start()) << m_tv.output(); }
    void TearDown() override { EXPECT_EQ(0, m_tv.stop()) << m_tv.output(); }

    testsupport::TempDir m_dir;
    testsupport::RunningTv m_tv{m_dir.path()};
};

TEST_F(RequestRefusalEndToEndTest, UnverifiableRequestsGetTheBareParseErrorObject) {
    HttpClient client;
    ASSERT_TRUE(client.connect(m_tv.port()));
    const char* const refused[] = {
        "not json at all",
        "{\"jsonrpc\":\"2.0\",\"method\":\"powerControl\",\"id\":1}",
        "{\"jsonrpc\":\"2.0\",\"method\":\"powerControl\",\"id\":1,"
        "\"params\":{\"AccessToken\":\"0123456789012345678901234567890123456789012345678\"}}",
        "",
    };
    for (const char* body : refused) {
        HttpResponse response = post(client, body);  // one kept-alive connection for all
        EXPECT_EQ(403, response.status) << body;
        EXPECT_EQ(kParseError, response.body) << body;
    }
}

}  // namespace
