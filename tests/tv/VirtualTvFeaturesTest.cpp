// The channel, multi-view and wall properties through the framework: the rules that tie them to
// the TV's state, and the wall's filtered reads.
#include <tuple>
#include <utility>

#include "TvTestSupport.h"

namespace tv_test {
namespace {

// Two HDMI inputs and one extended source; every capability, with a one-cabinet wall.
constexpr char kProduct[] = R"({"hdmiCount": 2, "extendedSources": ["AV"], "multiView": true,
    "displayRotation": true, "wall": {"boxes": [], "cabinets": [{"cabinetId": "c1",
    "groupId": "g", "row": 1, "column": 1, "power": "on", "temperature": 30}]}})";

using VirtualTvFeaturesTest = VirtualTvTest;

// The channels' ranges are rows of the schema, checked as every row is.
TEST_F(VirtualTvFeaturesTest, ChannelWriteTunesDigitalTv) {
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
}

// Its refusals are among the refused controls (VirtualTvControlsTest.cpp).
TEST_F(VirtualTvFeaturesTest, MultiViewKeepsWhatAWriteLeavesOut) {
    startTv(kProduct);
    RecordingClient client;
    EXPECT_EQ(DYNF_ERROR_NONE, client.write(jsonProp("multiView", R"({"on":true})")));
    EXPECT_EQ(R"({"on":true,"layout":"pip","sources":["dtv","HDMI1"]})",
              client.read(jsonProp("multiView", "{}")));
    const std::string quad =
        R"({"on":true,"layout":"quad","sources":["AV","HDMI2","HDMI1","dtv"]})";
    EXPECT_EQ(DYNF_ERROR_NONE, client.write(jsonProp("multiView", quad)));
    EXPECT_EQ(DYNF_ERROR_NONE, client.write(jsonProp("multiView", R"({"on":false})")));
    EXPECT_EQ(R"({"on":false,"layout":"quad","sources":["AV","HDMI2","HDMI1","dtv"]})",
              client.read(jsonProp("multiView", "{}")));
}

// The shipped wall profile's cabinets.
TEST_F(VirtualTvFeaturesTest, WallCabinetReadsAnswerWhatTheFilterMatches) {
    const std::pair<const char*, size_t> kFilters[] = {{"{}", 12},
                                                       {R"({"groupId":"A"})", 6},
                                                       {R"({"groupId":"A","cabinetId":"B4"})", 0},
                                                       {R"({"groupId":"C"})", 0}};
    startShippedTv("wall");
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

}  // namespace
}  // namespace tv_test
