// A paired client reads and writes the virtual TV over HTTP, each write checked by a read or the
// TV's state; refused and unverifiable requests get their one answer and change nothing.
#include <gtest/gtest.h>

#include "support/HttpClient.h"
#include "support/PlatformFixture.h"
#include "support/RunningTv.h"

using common::json::JsonType;
using common::json::JsonValue;
using testsupport::HttpClient;
using testsupport::HttpResponse;

namespace {

class TvControlEndToEndTest : public ::testing::Test {
protected:
    void start(const std::string& profile = "tv-2023") {
        ASSERT_TRUE(m_tv.start("allow", {"--profile", profile})) << m_tv.output();
        m_token = m_tv.pair();
        ASSERT_EQ(49u, m_token.size()) << m_tv.output();
    }

    JsonValue call(const std::string& method, const std::string& params = "") {
        return m_tv.call(method, params, m_token);
    }

    // The result of a successful answer (the test fails on an error).
    JsonValue result(const std::string& method, const std::string& params = "") {
        JsonValue answer = call(method, params);
        EXPECT_TRUE(answer.isMember("result"))
            << method << " " << params << " → " << answer.toString(false);
        return answer.isMember("result") ? JsonValue(answer["result"]) : JsonValue();
    }

    // The error code of the answer; 0 when it holds a result instead.
    int errorCode(const std::string& method, const std::string& params) {
        JsonValue answer = call(method, params);
        EXPECT_NE(answer.isMember("error"), answer.isMember("result")) << answer.toString(false);
        return answer.isMember("error") ? answer["error"]["code"].asInt() : 0;
    }

    JsonValue tvState() { return JsonValue::Create(m_tv.admin("GET", "/api/state").body)["tv"]; }

    testsupport::TempDir m_dir;
    testsupport::RunningTv m_tv{m_dir.path()};
    std::string m_token;
};

TEST_F(TvControlEndToEndTest, WrittenSettingsReadBackAndTheScreenFollows) {
    start();
    const struct {
        const char* method;
        const char* key;
        const char* written;  // JSON value
    } settings[] = {
        {"pictureModeControl", "pictureMode", "\"Movie\""},
        {"pictureSizeControl", "pictureSize", "\"4:3\""},
        {"contrastControl", "contrast", "30"},
        {"brightnessControl", "brightness", "12"},
        {"sharpnessControl", "sharpness", "7"},
        {"colorControl", "color", "41"},
        {"tintControl", "tint", "-10"},
        {"directVolumeControl", "volume", "20"},
        {"muteControl", "mute", "\"muteOn\""},
        {"soundModeControl", "soundMode", "\"Amplify\""},
        {"speakerSelectControl", "speakerSelect", "\"AudioOut/Optical\""},
        {"inputSourceControl", "inputSource", "\"HDMI2\""},
        {"powerControl", "power", "\"powerOff\""},
    };
    for (const auto& s : settings) {
        std::string params = std::string("{\"") + s.key + "\":" + s.written + "}";
        EXPECT_EQ(JsonValue::Create(params), result(s.method, params)) << s.method;
        EXPECT_EQ(JsonValue::Create(s.written), result(s.method)[s.key]) << s.method;
    }
    EXPECT_EQ("off", tvState()["power"].asString()) << tvState().toString(false);
    JsonValue video = result("getVideoStates");
    EXPECT_EQ(30, video["contrast"].asInt());
    EXPECT_EQ(-10, video["tint"].asInt());
    EXPECT_EQ(5u, video.size());
}

TEST_F(TvControlEndToEndTest, RefusedAndUnverifiableRequestsGetOneErrorAndLeaveTheTvAsItWas) {
    start();
    JsonValue before = tvState();
    // The TV refuses the value; a refused framework result is "Failed".
    EXPECT_EQ(-32002, errorCode("contrastControl", R"({"contrast":99})"));
    EXPECT_EQ(-32002, errorCode("inputSourceControl", R"({"inputSource":"USB"})"));
    EXPECT_NE(0, errorCode("remoteKeyControl", R"({"remoteKey":"Enter"})"));
    EXPECT_NE(0, errorCode("directAccessControl", R"({"applicationName":"Solitaire"})"));
    for (const char* params : {R"({"power":"on"})", R"({"power":5})", R"({"power":null})",
                               R"({"power":{"a":1}})", R"({"other":"x"})"}) {
        EXPECT_NE(0, errorCode("powerControl", params)) << params;
    }
    EXPECT_EQ(-32601, errorCode("fooControl", ""));
    EXPECT_EQ(before, tvState());

    ASSERT_EQ(200, m_tv.admin("PUT", "/api/tv/knobs", R"({"tvServiceAvailable":false})").status);
    EXPECT_EQ(-32002, errorCode("powerControl", R"({"power":"powerOff"})"));
    EXPECT_EQ("on", tvState()["power"].asString());

    // What a client on the network sees for a request it cannot be verified for: the bare error
    // object with 403, on a kept-alive connection.
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
        ASSERT_TRUE(client.post(body, "Content-Type: application/json\r\n")) << body;
        HttpResponse response = client.read().value_or(HttpResponse());
        EXPECT_EQ(403, response.status) << body;
        EXPECT_EQ("{\"code\": -32700, \"message\": \"Parse error\"}", response.body) << body;
    }
}

TEST_F(TvControlEndToEndTest, KeysAppsAndSpeakersActOnTheTv) {
    start();
    result("directVolumeControl", R"({"volume":10})");
    result("remoteKeyControl", R"({"remoteKey":"volumeDn"})");
    EXPECT_EQ(9, result("directVolumeControl")["volume"].asInt());

    result("directAccessControl", R"({"applicationName":"Prime Video"})");
    EXPECT_NE(std::string::npos, tvState().toString(false).find("Prime Video"))
        << tvState().toString(false);
    JsonValue list = result("firstScreenAppControl");
    EXPECT_EQ(JsonType::objectValue, list.type()) << list.toString(false);
    result("firstScreenAppControl", R"({"applicationName":"YouTube"})");

    JsonValue speakers = result("externalSpeakerControl");
    ASSERT_EQ(JsonType::arrayValue, speakers.type()) << speakers.toString(false);
    ASSERT_GE(speakers.size(), 1u);
    JsonValue choice(JsonType::objectValue);
    choice["deviceName"] = speakers[0]["deviceName"];
    choice["deviceId"] = speakers[0]["deviceId"];
    result("externalSpeakerControl", choice.toString(false));
    EXPECT_EQ("External", result("speakerSelectControl")["speakerSelect"].asString());
}

}  // namespace
