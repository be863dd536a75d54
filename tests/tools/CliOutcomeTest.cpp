// The ipcontrol executable against a scripted TV: what each answer of the TV becomes, as the
// sentence and exit code a user or a script sees.
#include <gtest/gtest.h>

#include "TokenStore.h"
#include "support/PlatformFixture.h"
#include "tools/CliRunner.h"
#include "tools/ScriptedTv.h"

using common::json::JsonValue;

namespace {

const std::string kToken = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklm";
const std::string kUnauthorized = "{\"code\": -32010, \"message\": \"Unauthorized access\"}";
const std::string kParseError = "{\"code\": -32700, \"message\": \"Parse error\"}";

std::string response(const std::string& member) {
    return "{\"jsonrpc\":\"2.0\",\"id\":\"1\"," + member + "}";
}

class CliOutcomeTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NE(0, m_tv.port()); }

    int run(std::vector<std::string> args) {
        args.insert(args.begin(), {"--port", std::to_string(m_tv.port())});
        return m_cli.run(args);
    }
    bool said(const std::string& text) const { return m_cli.said(text); }

    void storeToken() {
        TokenStore store(m_cli.tokenFile());
        store.put(TokenStore::keyFor("127.0.0.1", m_tv.port()), kToken);
        std::string error;
        ASSERT_TRUE(store.save(error)) << error;
    }

    // What ipcontrol makes of one scripted answer.
    struct Case {
        ScriptedTv::Answer answer;
        int exitCode;
        const char* says;
    };

    // Runs the command once per case, the TV answering as the case says.
    void expectEach(const std::vector<std::string>& command, const std::vector<Case>& cases) {
        for (const Case& c : cases) {
            m_tv.answerWith(c.answer);
            EXPECT_EQ(c.exitCode, run(command)) << m_cli.output();
            EXPECT_TRUE(said(c.says)) << m_cli.output();
        }
    }

    ScriptedTv m_tv;
    CliRunner m_cli;
};

TEST_F(CliOutcomeTest, PairStoresTheTokenThatCallThenSends) {
    m_tv.answerWith({response("\"result\":{\"AccessToken\":\"" + kToken + "\"}")});
    ASSERT_EQ(0, run({"pair"})) << m_cli.output();
    EXPECT_TRUE(said("Paired")) << m_cli.output();
    JsonValue stored = JsonValue::Create(testsupport::readFile(m_cli.tokenFile()));
    EXPECT_EQ(kToken, stored["127.0.0.1:" + std::to_string(m_tv.port())].asString());

    m_tv.answerWith({response("\"result\":{\"power\":\"on\"}")});
    ASSERT_EQ(0, run({"call", "powerControl", "{\"power\":\"on\"}"})) << m_cli.output();
    EXPECT_TRUE(said("\"power\" : \"on\"")) << m_cli.output();

    std::vector<JsonValue> requests = m_tv.requests();
    ASSERT_EQ(2u, requests.size());
    EXPECT_EQ("2.0", requests[0]["jsonrpc"].asString());
    EXPECT_EQ("createAccessToken", requests[0]["method"].asString());
    EXPECT_FALSE(requests[0].isMember("params"));
    EXPECT_EQ("powerControl", requests[1]["method"].asString());
    EXPECT_EQ(JsonValue::Create("{\"power\":\"on\",\"AccessToken\":\"" + kToken + "\"}"),
              requests[1]["params"]);
}

TEST_F(CliOutcomeTest, EveryPairingRefusalHasItsOwnExitCode) {
    expectEach(
        {"pair"},
        {
            {{kUnauthorized, true}, 4, "turned down on its screen"},
            {{kParseError, true}, 6, "denied twice"},
            {{"", true}, 7, "already on the screen"},
            {{"", false, true}, 5, "Nobody answered"},  // the server's 504 after its deadline
            {{response("\"result\":{}")}, 1, "without a token"},
        });
    EXPECT_EQ("", testsupport::readFile(m_cli.tokenFile()));  // nothing was stored
}

TEST_F(CliOutcomeTest, EveryCallFailureHasItsOwnExitCode) {
    storeToken();
    expectEach(
        {"call", "powerControl"},
        {
            {{kParseError, true}, 8, "does not accept the stored token"},
            {{response("\"error\":{\"code\":-32601,\"message\":\"Method not found\"}")},
             9,
             "does not know the method 'powerControl'"},
            {{response(
                 "\"error\":{\"code\":-32002,\"message\":\"Server error\",\"data\":\"Failed\"}")},
             10,
             "error -32002 Server error (Failed)"},
            {{"", true}, 1, "without a reason"},
            {{"<html>", false}, 1, "unexpected answer (HTTP 200)"},
        });
}

// A TV that cannot be reached at all exits with 3 too (CliAgainstTvTest.cpp).
TEST_F(CliOutcomeTest, StoppedServiceExitsWith3) {
    storeToken();
    m_tv.stopService();
    EXPECT_EQ(3, run({"call", "powerControl"}));
    EXPECT_TRUE(said("not running (HTTP 503)")) << m_cli.output();
}

TEST_F(CliOutcomeTest, JsonPrintsTheRawResponseBody) {
    storeToken();
    const std::string body = response("\"result\":{\"volume\":\"12\"}");
    m_tv.answerWith({body});
    EXPECT_EQ(0, run({"--json", "call", "directVolumeControl"}));
    EXPECT_EQ(body + "\n", m_cli.output());

    m_tv.answerWith({kParseError, true});
    EXPECT_EQ(8, run({"--json", "call", "directVolumeControl"}));
    EXPECT_EQ(0u, m_cli.output().find(kParseError + "\n")) << m_cli.output();
}

TEST_F(CliOutcomeTest, UsageErrorsExitWith2AndHelpWith0) {
    EXPECT_EQ(2, run({"reboot"}));
    EXPECT_TRUE(said("unknown command 'reboot'")) << m_cli.output();
    EXPECT_TRUE(said("Usage: ipcontrol")) << m_cli.output();
    EXPECT_EQ(0, run({"--help"}));
    EXPECT_TRUE(said("Exit codes")) << m_cli.output();
    EXPECT_TRUE(m_tv.requests().empty());
}

}  // namespace
