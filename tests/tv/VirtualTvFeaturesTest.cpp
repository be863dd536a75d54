// The expert picture, channel, rotation, multi-view and wall properties through the framework:
// their domains, the rules that tie them to the TV's state, and the wall's filtered reads.
#include <tuple>
#include <utility>

#include "TvTestSupport.h"

namespace tv_test {
namespace {

// Two HDMI inputs and one extended source; every capability, with a one-cabinet wall.
constexpr char kProduct[] = R"({"hdmiCount": 2, "extendedSources": ["AV"], "multiView": true,
    "displayRotation": true, "wall": {"boxes": [], "cabinets": [{"cabinetId": "c1",
    "groupId": "g", "row": 1, "column": 1, "power": "on", "temperature": 30}]}})";
constexpr char kMultiViewOff[] = R"({"on":false,"layout":"pip","sources":["dtv","HDMI1"]})";

using VirtualTvFeaturesTest = VirtualTvTest;

// The edges of each kind of domain: negative, from 1, wide; words with dots and digits.
TEST_F(VirtualTvFeaturesTest, ExpertPictureTakesItsDomainsOnly) {
    const std::tuple<const char*, int, int> kRanges[] = {{"backlight", 0, 50},
                                                         {"WB2Point", -50, 50},
                                                         {"WB20PInterval", 1, 20},
                                                         {"gammaHLG", -3, 3},
                                                         {"colorSpaceBlue", 0, 100}};
    const std::pair<const char*, std::vector<const char*>> kWords[] = {
        {"gammaMode", {"BT.1886", "ST.2084", "HLG", "2.2"}},
        {"filmMode", {"Off", "Auto1", "Auto2"}},
        {"colorSpaceColor", {"Red", "Green", "Blue", "Yellow", "Cyan", "Magenta"}}};
    startTv();
    RecordingClient client;
    for (const auto& [name, min, max] : kRanges) {
        EXPECT_EQ(DYNF_ERROR_INVALID_VALUE, client.write(intProp(name, min - 1))) << name;
        EXPECT_EQ(DYNF_ERROR_INVALID_VALUE, client.write(intProp(name, max + 1))) << name;
        EXPECT_EQ(DYNF_ERROR_NONE, client.write(intProp(name, min))) << name;
        EXPECT_EQ(DYNF_ERROR_NONE, client.write(intProp(name, max))) << name;
    }
    for (const auto& [name, words] : kWords) {
        EXPECT_EQ(DYNF_ERROR_INVALID_VALUE, client.write(textProp(name, "off"))) << name;
        for (const char* word : words) {
            EXPECT_EQ(DYNF_ERROR_NONE, client.write(textProp(name, word))) << name;
        }
    }
}

TEST_F(VirtualTvFeaturesTest, ChannelWriteTunesDigitalTvAndWaitsOutStandby) {
    startTv(kProduct);
    RecordingClient client;
    ASSERT_EQ(DYNF_ERROR_NONE, client.write(textProp("inputSource", "HDMI2")));
    ASSERT_EQ(DYNF_ERROR_NONE, client.write(jsonProp("launchApp", R"({"targetAppId":"home"})")));
    ASSERT_EQ(DYNF_ERROR_NONE,
              client.set({intProp("channelMajor", 999), intProp("channelMinor", 99)}));
    EXPECT_EQ(DYNF_ERROR_NONE, client.nextResult().error);
    ASSERT_EQ(DYNF_ERROR_NONE,
              client.get({intProp("channelMajor", 0), intProp("channelMinor", 0),
                          textProp("inputSource", ""), jsonProp("launchApp", "{}")}));
    EXPECT_EQ((std::vector<std::string>{"channelMajor=999", "channelMinor=99", "inputSource=dtv",
                                        "launchApp={}"}),
              client.nextResult().values);

    for (const Prop& outside : {intProp("channelMajor", 0), intProp("channelMajor", 1000),
                                intProp("channelMinor", 100), intProp("channelMinor", -1)}) {
        EXPECT_EQ(DYNF_ERROR_INVALID_VALUE, client.write(outside))
            << outside.name << outside.number;
    }
    ASSERT_EQ(DYNF_ERROR_NONE, client.write(textProp("powerValue", "off")));
    EXPECT_EQ(DYNF_ERROR_NOT_AVAILABLE, client.write(intProp("channelMajor", 5)));
    EXPECT_EQ("999", client.read(intProp("channelMajor", 0)));
}

struct MultiViewCase {
    const char* name;
    const char* write;
    dynf_error error;
    const char* after;  // the value read afterwards
};

class MultiViewTest : public VirtualTvFeaturesTest,
                      public ::testing::WithParamInterface<MultiViewCase> {};

TEST_P(MultiViewTest, ChecksLayoutAndSources) {
    startTv(kProduct);
    RecordingClient client;
    EXPECT_EQ(GetParam().error, client.write(jsonProp("multiView", GetParam().write)));
    EXPECT_EQ(GetParam().after, client.read(jsonProp("multiView", "{}")));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MultiViewTest,
    ::testing::Values(MultiViewCase{"OnKeepsTheLastLayout", R"({"on":true})", DYNF_ERROR_NONE,
                                    R"({"on":true,"layout":"pip","sources":["dtv","HDMI1"]})"},
                      MultiViewCase{
                          "QuadOfFourSources",
                          R"({"on":true,"layout":"quad","sources":["AV","HDMI2","HDMI1","dtv"]})",
                          DYNF_ERROR_NONE,
                          R"({"on":true,"layout":"quad","sources":["AV","HDMI2","HDMI1","dtv"]})"},
                      MultiViewCase{"QuadKeepingTwoSources", R"({"on":true,"layout":"quad"})",
                                    DYNF_ERROR_INVALID_VALUE, kMultiViewOff},
                      MultiViewCase{"SourceTwice", R"({"on":true,"sources":["dtv","dtv"]})",
                                    DYNF_ERROR_INVALID_VALUE, kMultiViewOff},
                      MultiViewCase{"SourceNotAnInput", R"({"on":true,"sources":["dtv","HDMI3"]})",
                                    DYNF_ERROR_INVALID_VALUE, kMultiViewOff},
                      MultiViewCase{"WithoutOn", R"({"layout":"split"})", DYNF_ERROR_INVALID_VALUE,
                                    kMultiViewOff},
                      MultiViewCase{"NotJson", "on", DYNF_ERROR_INVALID_VALUE, kMultiViewOff}),
    [](const ::testing::TestParamInfo<MultiViewCase>& info) {
        return std::string(info.param.name);
    });

// The shipped wall profile.
class WallTest : public VirtualTvFeaturesTest {
protected:
    void SetUp() override {
        m_options.dataDir = m_dir.path();
        m_options.resourceDir = IPC_TEST_RESOURCE_DIR;
        m_options.profile = "wall";
        startTv("");
    }
};

TEST_F(WallTest, ServesTheBoxesAndGroupsOfTheProfile) {
    RecordingClient client;
    EXPECT_EQ(R"(["A","B"])", client.read(jsonProp("wallCabinetGroupIds", "[]")));
    EXPECT_EQ(R"([{"boxId":"box-1","power":"on","temperature":43,"error":""},)"
              R"({"boxId":"box-2","power":"on","temperature":45,"error":""}])",
              client.read(jsonProp("wallBoxStates", "[]")));
    EXPECT_EQ(DYNF_ERROR_NONE, client.write(textProp("wallAmbient", "on")));
    EXPECT_EQ("on", client.read(textProp("wallAmbient", "")));
}

TEST_F(WallTest, CabinetReadsAnswerWhatTheFilterMatches) {
    const std::pair<const char*, size_t> kFilters[] = {{"{}", 12},
                                                       {R"({"groupId":"A"})", 6},
                                                       {R"({"groupId":"A","cabinetId":"B4"})", 0},
                                                       {R"({"groupId":"C"})", 0}};
    RecordingClient client;
    for (const auto& [filter, count] : kFilters) {
        const std::string cabinets = client.read(jsonProp("wallCabinetStates", filter));
        size_t found = 0;
        for (size_t at = cabinets.find("cabinetId"); at != std::string::npos;
             at = cabinets.find("cabinetId", at + 1)) {
            ++found;
        }
        EXPECT_EQ(count, found) << filter << ": " << cabinets;
    }
    EXPECT_EQ(R"([{"cabinetId":"B4","groupId":"B","row":2,"column":4,"power":"off",)"
              R"("temperature":24,"error":"E-201 LED driver fault"}])",
              client.read(jsonProp("wallCabinetStates", R"({"cabinetId":"B4"})")));
}

TEST_F(WallTest, UnavailableWallRefusesOnlyTheWallProperties) {
    setKnobs(R"({"wallServiceAvailable": false})");
    RecordingClient client;
    for (const Prop& wall :
         {textProp("wallAmbient", ""), jsonProp("wallBoxStates", "[]"),
          jsonProp("wallCabinetGroupIds", "[]"), jsonProp("wallCabinetStates", "{}")}) {
        EXPECT_EQ("error 2", client.read(wall)) << wall.name;
    }
    EXPECT_EQ("landscape", client.read(textProp("displayRotation", "")));
    EXPECT_EQ(DYNF_ERROR_NONE, client.write(intProp("backlight", 10)));
}

TEST_F(VirtualTvFeaturesTest, NewStateSurvivesARestart) {
    startTv(kProduct);
    {
        RecordingClient client;
        for (const Prop& prop :
             {intProp("channelMajor", 12), intProp("channelMinor", 5),
              textProp("displayRotation", "portrait"), textProp("wallAmbient", "on"),
              intProp("backlight", 40),
              jsonProp("multiView", R"({"on":true,"layout":"split","sources":["AV","dtv"]})")}) {
            ASSERT_EQ(DYNF_ERROR_NONE, client.write(prop)) << prop.name;
        }
    }
    restartTv();
    RecordingClient client;
    ASSERT_EQ(DYNF_ERROR_NONE,
              client.get({intProp("channelMajor", 0), intProp("channelMinor", 0),
                          textProp("displayRotation", ""), textProp("wallAmbient", ""),
                          intProp("backlight", 0), jsonProp("multiView", "{}"),
                          jsonProp("wallCabinetGroupIds", "[]")}));
    EXPECT_EQ(
        (std::vector<std::string>{
            "channelMajor=12", "channelMinor=5", "displayRotation=portrait", "wallAmbient=on",
            "backlight=40", R"(multiView={"on":true,"layout":"split","sources":["AV","dtv"]})",
            R"(wallCabinetGroupIds=["g"])"}),
        client.nextResult().values);
}

}  // namespace
}  // namespace tv_test
