// Every method of the protocol on every shipped product: it answers where the product has the
// feature, and fails with an error (never silence, never invented values) where it does not.
#include <algorithm>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/PlatformFixture.h"
#include "support/RunningTv.h"

using common::json::JsonValue;

namespace {

// Every method of the protocol, probed by a read; the others by a harmless request with the
// params they need.
const char* const kReads =
    "powerControl directVolumeControl muteControl directChannelControl inputSourceControl "
    "USBSourceControl pictureModeControl contrastControl brightnessControl sharpnessControl "
    "colorControl tintControl pictureSizeControl pictureCalibrationModeControl backlightControl "
    "digitalCleanViewControl autoMotionPlusControl AMP.blurReductionControl "
    "AMP.judderReductionControl AMP.LEDClearMotionControl localDimmingControl filmModeControl "
    "contrastEnhancerControl colorToneControl WB2PointControl WB20PointModeControl "
    "WB20P.IntervalControl WB20P.RedControl WB20P.GreenControl WB20P.BlueControl gammaModeControl "
    "gamma.BT1886Control gamma.ST2084Control gamma.HLGControl RGBOnlyModeControl "
    "colorSpaceControl colorSpace.ColorControl colorSpace.ColorAdjustmentPointControl "
    "colorSpace.RedControl colorSpace.GreenControl colorSpace.BlueControl soundModeControl "
    "speakerSelectControl externalSpeakerControl getTVStates getVideoStates artModeControl "
    "firstScreenAppControl ambientControl getBoxStates getCabinetGroupIds multiviewControl "
    "displayRotatorControl";
const std::pair<const char*, const char*> kWrites[] = {
    {"volumeUpDnControl", R"({"control":"volumeUp"})"},
    {"channelUpDnControl", R"({"control":"channelUp"})"},
    {"remoteKeyControl", R"({"remoteKey":"enter"})"},
    {"directAccessControl", R"({"applicationName":"YouTube"})"},
    {"getCabinetStates", R"({"groupId":"A"})"}};

const std::set<std::string> kWallMethods = {"ambientControl", "getBoxStates", "getCabinetGroupIds",
                                            "getCabinetStates"};

struct Product {
    const char* profile;
    std::set<std::string> lacks;  // methods whose feature the product does not have
};

void PrintTo(const Product& product, std::ostream* out) {
    *out << product.profile;
}

class EveryMethodEndToEndTest : public ::testing::TestWithParam<Product> {};

TEST_P(EveryMethodEndToEndTest, AnswersWhereTheProductHasTheFeature) {
    const Product& product = GetParam();
    testsupport::TempDir dir;
    testsupport::RunningTv tv(dir.path());
    ASSERT_TRUE(tv.start("allow", {"--profile", product.profile})) << tv.output();
    const std::string token = tv.pair();
    ASSERT_EQ(49u, token.size()) << tv.output();
    const bool wall = std::string(product.profile) == "wall";

    std::vector<std::pair<std::string, std::string>> probes;
    std::istringstream reads(kReads);
    for (std::string method; reads >> method;) {
        probes.emplace_back(method, "");
    }
    probes.insert(probes.end(), std::begin(kWrites), std::end(kWrites));
    for (const auto& [method, params] : probes) {
        JsonValue answer = tv.call(method, params, token);
        const std::string text = answer.toString(false);
        if (kWallMethods.count(method) != 0 && !wall) {
            EXPECT_EQ(-32601, answer["error"]["code"].asInt()) << method << " → " << text;
        } else if (product.lacks.count(method) != 0) {
            EXPECT_TRUE(answer.isMember("error")) << method << " → " << text;
        } else {
            EXPECT_TRUE(answer.isMember("result"))
                << product.profile << " " << method << " → " << text;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(ShippedProfiles, EveryMethodEndToEndTest,
                         ::testing::Values(Product{"tv-2023",
                                                   {"artModeControl", "displayRotatorControl"}},
                                           Product{"tv-2019",
                                                   {"artModeControl", "displayRotatorControl",
                                                    "multiviewControl", "localDimmingControl"}},
                                           Product{"wall", {"artModeControl", "multiviewControl"}},
                                           Product{"easel", {"multiviewControl"}},
                                           Product{"lfd",
                                                   {"artModeControl", "displayRotatorControl",
                                                    "multiviewControl", "localDimmingControl"}}),
                         [](const ::testing::TestParamInfo<Product>& info) {
                             std::string name = info.param.profile;
                             name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
                             return name;
                         });

}  // namespace
