// The TV's controls through the framework: the domains of the picture, sound, source, key and
// application properties, keys acting on the state, launches and the application-title lookup.
#include <cstdlib>

#include "CurrentTv.h"
#include "TvTestSupport.h"
#include "VirtualTv.h"
#include "VirtualTvRuntime.h"
#include "was.h"

namespace tv_test {
namespace {

// One connected speaker and USB device, two HDMI inputs, one extended source, multi-view.
constexpr char kProduct[] = R"({"hdmiCount": 2, "extendedSources": ["AV"], "multiView": true,
    "speakers": [{"id": "sb", "name": "Soundbar"}],
    "usbDevices": [{"name": "Stick", "id": "u1"}, {"name": "Bad", "id": "u2", "errorCode": 3}]})";

class VirtualTvControlsTest : public VirtualTvTest {
protected:
    // Every value the TV holds, as "name=value" text.
    static std::string state() {
        std::string text;
        for (const auto& [name, value] : ipc_tv::currentTv()->snapshot().properties) {
            text += name + "=" + one(value) + ";";
        }
        return text;
    }
    static std::string value(const std::string& name) {
        return one(ipc_tv::currentTv()->snapshot().properties.at(name));
    }
    static std::string one(const ipc_tv::PropertyValue& value) {
        return value.isText()                       ? value.text()
               : value.type() == DYNF_PROPERTY_BOOL ? (value.boolValue() ? "true" : "false")
                                                    : std::to_string(value.intValue());
    }
};

struct Refusal {
    const char* name;
    bool isWrite;
    Prop prop;
    dynf_error error;
};

class RefusedControlTest : public VirtualTvControlsTest,
                           public ::testing::WithParamInterface<Refusal> {};

TEST_P(RefusedControlTest, AnswersTheErrorAndChangesNothing) {
    startTv(kProduct);
    const std::string before = state();
    RecordingClient client;
    const Refusal& c = GetParam();
    ASSERT_EQ(DYNF_ERROR_NONE, c.isWrite ? client.set({c.prop}) : client.get({c.prop}));
    EXPECT_EQ(c.error, client.nextResult().error);
    EXPECT_EQ(before, state());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RefusedControlTest,
    ::testing::Values(
        Refusal{"SpeakerNotConnected", true,
                jsonProp("connectedExternalSpeakerList", R"({"id":"x","name":"X"})"), 4},
        Refusal{"InputBeyondTheHdmiCount", true, textProp("inputSource", "HDMI3"), 4},
        Refusal{"UsbDeviceWithError", true,
                textProp("extendedSource", R"({"deviceName":"Bad","additionalData":"u2"})"), 4},
        Refusal{"UsbListWritten", true, jsonProp("connectedExtendedSourceList", "[]"), 5},
        Refusal{"KeyUnknown", true, keyProp("KEY_ENTER"), 4},
        Refusal{"KeyHeld", true, keyProp("KEY_OK", "press"), 4},
        Refusal{"KeyRead", false, jsonProp("remoteKey", "{}"), 5},
        Refusal{"AppUnknown", true, jsonProp("launchApp", R"({"targetAppId":"1"})"), 4},
        Refusal{"QuadKeepingTwoSources", true,
                jsonProp("multiView", R"({"on":true,"layout":"quad"})"), 4},
        Refusal{"MultiViewSourceTwice", true,
                jsonProp("multiView", R"({"on":true,"sources":["dtv","dtv"]})"), 4},
        Refusal{"MultiViewSourceNotAnInput", true,
                jsonProp("multiView", R"({"on":true,"sources":["dtv","HDMI3"]})"), 4},
        Refusal{"MultiViewWithoutOn", true, jsonProp("multiView", R"({"layout":"split"})"), 4},
        Refusal{"MultiViewNotJson", true, jsonProp("multiView", "on"), 4}),
    [](const ::testing::TestParamInfo<Refusal>& info) { return std::string(info.param.name); });

struct KeyCase {
    const char* name;
    std::vector<Prop> before;  // written first
    const char* key;
    std::vector<std::pair<const char*, const char*>> after;
};

class KeyTest : public VirtualTvControlsTest, public ::testing::WithParamInterface<KeyCase> {};

TEST_P(KeyTest, ActsOnTheState) {
    startTv(kProduct);
    RecordingClient client;
    for (const Prop& prop : GetParam().before) {
        ASSERT_EQ(DYNF_ERROR_NONE, client.write(prop)) << prop.name;
    }
    EXPECT_EQ(DYNF_ERROR_NONE, client.write(keyProp(GetParam().key)));
    for (const auto& [name, expected] : GetParam().after) {
        EXPECT_EQ(expected, value(name)) << name;
    }
    EXPECT_EQ(GetParam().key, value("lastKey"));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, KeyTest,
    ::testing::Values(KeyCase{"VolumeUpUnmutes",
                              {intProp("volume", 10), boolProp("mute", true)},
                              "KEY_VOLUP",
                              {{"volume", "11"}, {"mute", "false"}}},
                      KeyCase{"ChannelUpTunesTheTuner",
                              {textProp("inputSource", "HDMI2")},
                              "KEY_CHUP",
                              {{"channelMajor", "2"}, {"inputSource", "dtv"}}},
                      KeyCase{"NumberTunes",
                              {jsonProp("launchApp", R"({"targetAppId":"111299001912"})")},
                              "KEY_7",
                              {{"channelMajor", "7"}, {"launchApp", "{}"}}},
                      KeyCase{"PowerGoesToStandby", {}, "KEY_POWER", {{"powerValue", "off"}}},
                      KeyCase{"MultiViewToggles",
                              {},
                              "KEY_MULTI_VIEW",
                              {{"multiView",
                                R"({"on":true,"layout":"pip","sources":["dtv","HDMI1"]})"}}}),
    [](const ::testing::TestParamInfo<KeyCase>& info) { return std::string(info.param.name); });

TEST_F(VirtualTvControlsTest, SourcesAndSpeakersExcludeOneAnother) {
    startTv(kProduct);
    RecordingClient client;
    EXPECT_EQ(DYNF_ERROR_NONE,
              client.write(
                  textProp("extendedSource", R"({"deviceName":"Stick","additionalData":"u1"})")));
    EXPECT_EQ("", client.read(textProp("inputSource", "")));
    EXPECT_EQ("Stick", client.read(textProp("extendedSource", "")));
    EXPECT_EQ(DYNF_ERROR_NONE, client.write(textProp("inputSource", "HDMI1")));
    EXPECT_EQ("", client.read(textProp("extendedSource", "")));

    EXPECT_EQ(R"([{"id":"sb","name":"Soundbar"}])",
              client.read(textProp("connectedExternalSpeakerList", "{}")));
    EXPECT_EQ(DYNF_ERROR_NONE, client.write(jsonProp("connectedExternalSpeakerList",
                                                     R"({"id":"sb","name":"Soundbar"})")));
    EXPECT_EQ("external", client.read(textProp("speaker", "")));
    EXPECT_EQ("sb", value("externalSpeakerId"));
}

TEST_F(VirtualTvControlsTest, LaunchedAppComesForwardAndTitlesResolve) {
    startTv(kProduct);
    RecordingClient client;
    EXPECT_EQ(DYNF_ERROR_NONE,
              client.write(jsonProp("launchApp", R"({"targetAppId":"org.orvane.browser",)"
                                                 R"("targetAppName":"webBrowser",)"
                                                 R"("targetAppParam":"http://a.example/"})")));
    EXPECT_EQ(R"({"targetAppId":"org.orvane.browser","title":"Internet"})",
              client.read(jsonProp("launchApp", "{}")));
    EXPECT_EQ("http://a.example/", value("foregroundUrl"));
    EXPECT_EQ(DYNF_ERROR_NONE,
              client.write(jsonProp("firstScreenAppId", R"({"id":"3201601007625"})")));
    EXPECT_EQ(R"({"id":"3201601007625"})", client.read(jsonProp("firstScreenAppId", "")));
    EXPECT_EQ(DYNF_ERROR_NONE, client.write(jsonProp("firstScreenAppId", "{}")));
    EXPECT_EQ("{}", client.read(jsonProp("firstScreenAppId", "")));

    char* id = nullptr;
    ASSERT_EQ(0, was_get_appid_by_runtitle("AmazonInstantVideo", &id));
    EXPECT_STREQ("3201910019365", id);
    free(id);
    EXPECT_LT(was_get_appid_by_runtitle("Solitaire", &id), 0);
    ipc_tv::stop();
    EXPECT_LT(was_get_appid_by_runtitle("Netflix", &id), 0);
}

TEST_F(VirtualTvControlsTest, ProfileChoosesTheDomains) {
    startTv(R"({"pictureModes": ["Vivid", "Calm"]})");
    RecordingClient client;
    EXPECT_EQ("Vivid", client.read(textProp("pictureMode", "")));
    EXPECT_EQ(DYNF_ERROR_INVALID_VALUE, client.write(textProp("pictureMode", "Standard")));
    // Without connected speakers the external one cannot be chosen.
    EXPECT_EQ(DYNF_ERROR_INVALID_VALUE, client.write(textProp("speaker", "external")));
    // The multi-view key is shown but does nothing without the capability.
    EXPECT_EQ(DYNF_ERROR_NONE, client.write(keyProp("KEY_MULTI_VIEW")));
    EXPECT_EQ(R"({"on":false,"layout":"pip","sources":["dtv","HDMI1"]})", value("multiView"));
}

}  // namespace
}  // namespace tv_test
