// The virtual TV's state across restarts and its configuration from the profile: the state file,
// broken files, and refused "tv" sections.
#include <filesystem>

#include "TvTestSupport.h"
#include "CurrentTv.h"
#include "VirtualTv.h"
#include "VirtualTvRuntime.h"
#include "device_power.h"

namespace tv_test {
namespace {

const Prop kPowerRead = textProp("powerValue", "");
const Prop kAmbientRead = intProp("ambientMode", 0);

class VirtualTvStateTest : public VirtualTvTest {
protected:
    std::string statePath() const { return m_dir.file("tv-state.json"); }

    // Power and ambient mode as one read sees them: "on/2".
    std::string readState() {
        RecordingClient client;
        return client.read(kPowerRead) + "/" + client.read(kAmbientRead);
    }

    // Writes one property with a client that is gone before the TV restarts; the state after.
    std::string restartAfterWriting(const Prop& prop) {
        {
            RecordingClient client;
            EXPECT_EQ(DYNF_ERROR_NONE, client.write(prop));
        }
        restartTv();
        return readState();
    }
};

// The profile's values hold until the TV has a state of its own.
TEST_F(VirtualTvStateTest, ChangesSurviveARestartOverTheProfile) {
    startTv(R"({"initial": {"ambientMode": 1}})");
    EXPECT_EQ("on/1", readState());
    EXPECT_EQ("on/2", restartAfterWriting(intProp("ambientMode", 2)));
    EXPECT_EQ("off/0", restartAfterWriting(textProp("powerValue", "off")));
}

TEST_F(VirtualTvStateTest, StopDuringARebootComesBackOn) {
    startTv(R"({"knobs": {"rebootMs": 60000}})");
    EXPECT_EQ("on/0", restartAfterWriting(textProp("powerValue", "reboot")));
}

TEST_F(VirtualTvStateTest, StoredValuesThatDoNotFitAreLeftOut) {
    testsupport::writeFile(statePath(), R"({"properties": {"powerValue": "standby",
        "ambientMode": 2, "volume": 10}})");
    startTv();
    EXPECT_EQ("on/2", readState());
}

TEST_F(VirtualTvStateTest, ControlsAndDevicesSurviveARestart) {
    startTv(R"({"speakers": [{"id": "sb", "name": "Soundbar"}]})");
    ASSERT_EQ(DYNF_ERROR_NONE, ipc_tv::currentTv()->connectDevices("connectedExtendedSourceList",
                                                                   R"([{"name":"S","id":"u"}])"));
    restartAfterWriting(textProp("speaker", "external"));
    RecordingClient client;
    EXPECT_EQ("external", client.read(textProp("speaker", "")));
    EXPECT_EQ(R"([{"name":"S","id":"u","uniqueKey":"u","errorCode":0,"unavailable":false}])",
              client.read(jsonProp("connectedExtendedSourceList", "[]")));
}

TEST_F(VirtualTvStateTest, StoredValuesOutsideTheProductFallBack) {
    testsupport::writeFile(statePath(), R"({"properties": {"pictureMode": "Movie",
        "speaker": "external", "launchApp": "{\"targetAppId\":\"gone\"}",
        "connectedExtendedSourceList": "{}", "volume": 30}})");
    startTv(R"({"pictureModes": ["Vivid", "Calm"]})");
    RecordingClient client;
    EXPECT_EQ("Vivid", client.read(textProp("pictureMode", "")));
    EXPECT_EQ("internal", client.read(textProp("speaker", "")));
    EXPECT_EQ("{}", client.read(jsonProp("launchApp", "")));
    EXPECT_EQ("[]", client.read(jsonProp("connectedExtendedSourceList", "")));
    EXPECT_EQ("30", client.read(intProp("volume", 0)));
}

struct NamedText {
    const char* name;
    const char* text;
};

class BrokenStateFileTest : public VirtualTvStateTest,
                            public ::testing::WithParamInterface<NamedText> {};

TEST_P(BrokenStateFileTest, StartsFromTheProfileAndKeepsTheFile) {
    testsupport::writeFile(statePath(), GetParam().text);
    startTv(R"({"initial": {"ambientMode": 1}})");
    EXPECT_EQ("on/1", readState());
    EXPECT_EQ(GetParam().text, testsupport::readFile(statePath() + ".broken"));
    EXPECT_FALSE(std::filesystem::exists(statePath()));
    // The next change writes a good file again.
    EXPECT_EQ("on/3", restartAfterWriting(intProp("ambientMode", 3)));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, BrokenStateFileTest,
    ::testing::Values(NamedText{"Truncated", R"({"properties": {)"},
                      NamedText{"TopLevelArray", "[]"},
                      NamedText{"NoProperties", R"({"power": "on"})"},
                      NamedText{"PropertiesNotObject", R"({"properties": 1})"}),
    [](const ::testing::TestParamInfo<NamedText>& info) { return std::string(info.param.name); });

class RefusedTvSectionTest : public VirtualTvStateTest,
                             public ::testing::WithParamInterface<NamedText> {};

TEST_P(RefusedTvSectionTest, StartFailsNamingTheProfile) {
    const std::string error = startError(GetParam().text);
    EXPECT_NE(std::string::npos, error.find(m_dir.file("profile.json"))) << error;
    EXPECT_EQ(nullptr, dynf_protocol_create(nullptr, nullptr, nullptr));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RefusedTvSectionTest,
    ::testing::Values(NamedText{"UnknownMember", R"({"power": "on"})"},
                      NamedText{"UnknownInitialProperty", R"({"initial": {"noSuchProperty": 3}})"},
                      NamedText{"InitialOutsideDomain", R"({"initial": {"ambientMode": 4}})"},
                      NamedText{"InitialOfWrongType", R"({"initial": {"powerValue": true}})"},
                      NamedText{"UnsupportedNotAName", R"({"unsupported": ["noSuchProperty"]})"},
                      NamedText{"UnsupportedNotArray", R"({"unsupported": "ambientMode"})"},
                      NamedText{"AmbientTypeText", R"({"ambientType": "4"})"},
                      NamedText{"KnobOutOfRange", R"({"knobs": {"latencyMs": -1}})"},
                      NamedText{"WallCabinetsOnOnePlace",
                                R"({"wall": {"cabinets": [
                                    {"cabinetId": "a", "groupId": "g", "row": 1, "column": 1,
                                     "power": "on", "temperature": 30},
                                    {"cabinetId": "b", "groupId": "g", "row": 1, "column": 1,
                                     "power": "on", "temperature": 30}]}})"}),
    [](const ::testing::TestParamInfo<NamedText>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tv_test
