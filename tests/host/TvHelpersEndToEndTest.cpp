// Every picture, sound, source, key and app method read and written by a paired client against
// the virtual TV, each write checked by a read or the TV's state.
#include <gtest/gtest.h>

#include "support/PlatformFixture.h"
#include "support/RunningTv.h"

using common::json::JsonType;
using common::json::JsonValue;

namespace {

class TvHelpersEndToEndTest : public ::testing::Test {
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

    int errorCode(const std::string& method, const std::string& params) {
        JsonValue answer = call(method, params);
        return answer.isMember("error") ? answer["error"]["code"].asInt() : 0;
    }

    JsonValue tvState() { return JsonValue::Create(m_tv.admin("GET", "/api/state").body)["tv"]; }

    testsupport::TempDir m_dir;
    testsupport::RunningTv m_tv{m_dir.path()};
    std::string m_token;
};

struct Setting {
    const char* method;
    const char* key;
    const char* written;  // JSON value
};

TEST_F(TvHelpersEndToEndTest, WrittenSettingsReadBack) {
    start();
    const Setting settings[] = {
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
    };
    for (const Setting& s : settings) {
        std::string params = std::string("{\"") + s.key + "\":" + s.written + "}";
        EXPECT_EQ(JsonValue::Create(params), result(s.method, params)) << s.method;
        EXPECT_EQ(JsonValue::Create(s.written), result(s.method)[s.key]) << s.method;
    }
    JsonValue video = result("getVideoStates");
    EXPECT_EQ(30, video["contrast"].asInt());
    EXPECT_EQ(-10, video["tint"].asInt());
    EXPECT_EQ(5u, video.size());
}

TEST_F(TvHelpersEndToEndTest, RefusedValuesLeaveTheTvAsItWas) {
    start();
    JsonValue before = tvState();
    // The TV refuses the value; a refused framework result is "Failed".
    EXPECT_EQ(-32002, errorCode("contrastControl", R"({"contrast":99})"));
    EXPECT_EQ(-32002, errorCode("inputSourceControl", R"({"inputSource":"USB"})"));
    EXPECT_NE(0, errorCode("remoteKeyControl", R"({"remoteKey":"Enter"})"));
    EXPECT_NE(0, errorCode("directAccessControl", R"({"applicationName":"Solitaire"})"));
    EXPECT_NE(0, errorCode("powerControl", R"({"power":"on"})"));
    EXPECT_EQ(before, tvState());
}

TEST_F(TvHelpersEndToEndTest, KeysAndAppsActOnTheTv) {
    start();
    result("directVolumeControl", R"({"volume":10})");
    result("volumeUpDnControl", R"({"control":"volumeUp"})");
    EXPECT_EQ(11, result("directVolumeControl")["volume"].asInt());
    result("remoteKeyControl", R"({"remoteKey":"volumeDn"})");
    EXPECT_EQ(10, result("directVolumeControl")["volume"].asInt());
    result("channelUpDnControl", R"({"control":"channelUp"})");

    result("directAccessControl", R"({"applicationName":"Prime Video"})");
    EXPECT_NE(std::string::npos, tvState().toString(false).find("Prime Video"))
        << tvState().toString(false);
    JsonValue list = result("firstScreenAppControl");
    EXPECT_EQ(JsonType::objectValue, list.type()) << list.toString(false);
    result("firstScreenAppControl", R"({"applicationName":"YouTube"})");
}

TEST_F(TvHelpersEndToEndTest, ConnectedSpeakersAndUsbDevicesAreListedAndChosen) {
    start();
    JsonValue speakers = result("externalSpeakerControl");
    ASSERT_EQ(JsonType::arrayValue, speakers.type()) << speakers.toString(false);
    ASSERT_GE(speakers.size(), 1u);
    JsonValue choice(JsonType::objectValue);
    choice["deviceName"] = speakers[0]["deviceName"];
    choice["deviceId"] = speakers[0]["deviceId"];
    result("externalSpeakerControl", choice.toString(false));
    EXPECT_EQ("External", result("speakerSelectControl")["speakerSelect"].asString());

    JsonValue usb = result("USBSourceControl");
    EXPECT_NE(JsonType::nullValue, usb.type()) << usb.toString(false);
}

TEST_F(TvHelpersEndToEndTest, ArtModeExistsOnlyWhereTheProductHasIt) {
    start("easel");
    EXPECT_EQ(JsonValue::Create(R"({"artMode":"on"})"),
              result("artModeControl", R"({"artMode":"on"})"));
    EXPECT_EQ("on", result("artModeControl")["artMode"].asString());
    m_tv.stop();
    m_token.clear();
    testsupport::TempDir other;
    testsupport::RunningTv tv(other.path());
    ASSERT_TRUE(tv.start("allow")) << tv.output();
    std::string token = tv.pair();
    JsonValue answer = tv.call("artModeControl", R"({"artMode":"on"})", token);
    EXPECT_TRUE(answer.isMember("error")) << answer.toString(false);
}

}  // namespace
