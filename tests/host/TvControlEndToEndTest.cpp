// A paired client controls the virtual TV's power over HTTP, and every bad request gets exactly
// one JSON-RPC answer.
#include <gtest/gtest.h>

#include "support/PlatformFixture.h"
#include "support/RunningTv.h"

using common::json::JsonValue;

namespace {

class TvControlEndToEndTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_tv.start("allow")) << m_tv.output();
        m_token = m_tv.pair();
        ASSERT_EQ(49u, m_token.size()) << m_tv.output();
    }

    JsonValue call(const std::string& method, const std::string& params = "") {
        return m_tv.call(method, params, m_token);
    }

    JsonValue tvState() { return JsonValue::Create(m_tv.admin("GET", "/api/state").body)["tv"]; }

    testsupport::TempDir m_dir;
    testsupport::RunningTv m_tv{m_dir.path()};
    std::string m_token;
};

TEST_F(TvControlEndToEndTest, PowerIsReadAndSwitchedAndTheScreenFollows) {
    EXPECT_EQ("powerOn", call("powerControl")["result"]["power"].asString());

    JsonValue answer = call("powerControl", R"({"power":"powerOff"})");
    EXPECT_EQ(JsonValue::Create(R"({"power":"powerOff"})"), answer["result"])
        << answer.toString(false);
    EXPECT_EQ("powerOff", call("powerControl")["result"]["power"].asString());
    EXPECT_EQ("off", tvState()["power"].asString()) << tvState().toString(false);
}

TEST_F(TvControlEndToEndTest, UnknownMethodAndUnavailableServiceGetTheirErrors) {
    EXPECT_EQ(-32601, call("fooControl")["error"]["code"].asInt());

    ASSERT_EQ(200, m_tv.admin("PUT", "/api/tv/knobs", R"({"tvServiceAvailable":false})").status);
    JsonValue answer = call("powerControl", R"({"power":"powerOff"})");
    EXPECT_EQ(-32002, answer["error"]["code"].asInt()) << answer.toString(false);
    EXPECT_EQ("on", tvState()["power"].asString());
}

TEST_F(TvControlEndToEndTest, EveryBadParameterGetsOneErrorAndChangesNothing) {
    const char* const bad[] = {
        R"({"power":"on"})",  R"({"power":5})",       R"({"power":null})",
        R"({"power":["x"]})", R"({"power":{"a":1}})", R"({"other":"x"})",
    };
    for (const char* params : bad) {
        JsonValue answer = call("powerControl", params);
        EXPECT_TRUE(answer.isMember("error")) << params << " → " << answer.toString(false);
        EXPECT_FALSE(answer.isMember("result")) << params;
    }
    EXPECT_EQ("powerOn", call("powerControl")["result"]["power"].asString());
}

}  // namespace
