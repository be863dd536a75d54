// Picture control: "getVideoStates" and its refused write, answers of the wrong kind, the usage
// event.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "System/HelperTestSupport.h"
#include "System/PictureControlHelper.h"
#include "support/PlatformTest.h"

using common::json::JsonValue;
using helpertest::answer;
using helpertest::command;
using helpertest::List;

namespace {

class PictureControlHelperTest : public testsupport::PlatformTest {
protected:
    static CmdRequest video() {
        return command(GET_VIDEO_STATES, "getVideoStates", R"({"AccessToken":"t"})");
    }

    CmdRequest handled(CmdRequest request, List result) {
        return helpertest::handled(m_helper, std::move(request), DYNF_ERROR_NONE,
                                   std::move(result));
    }

    PictureControlHelper m_helper;
};

// Like every read-only method: with params it would otherwise set all five settings.
TEST_F(PictureControlHelperTest, VideoStatesWriteIsRefusedBeforeAnyCall) {
    CmdRequest request =
        command(GET_VIDEO_STATES, "getVideoStates",
                R"({"contrast":1,"sharpness":2,"brightness":3,"color":4,"tint":5})");
    EXPECT_TRUE(helpertest::sent(m_helper, request).empty());
    helpertest::expectError(request, SERVER_ERROR_INVALID_OPERATION, DEVICE_MANAGER_ERROR_FAILED);
}

TEST_F(PictureControlHelperTest, VideoStatesWithOneMissingFailAndKeepTheOthers) {
    List result =
        answer({dynf_property_create_int("contrast", 1), dynf_property_create_int("sharpness", 2),
                dynf_property_create_int("color", 4), dynf_property_create_int("tint", 5)});
    CmdRequest request = handled(video(), std::move(result));
    helpertest::expectError(request, SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_UNKNOWN);
    EXPECT_EQ(JsonValue::Create(R"({"contrast":1,"sharpness":2,"color":4,"tint":5})"),
              request.result);
}

TEST_F(PictureControlHelperTest, IntegerOfAnotherKindFailsTheRead) {
    CmdRequest request = handled(command(COLOR_CONTROL, "colorControl", "{}"),
                                 helpertest::stringAnswer("color", "4"));
    helpertest::expectError(request, SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_UNKNOWN);
}

TEST_F(PictureControlHelperTest, WriteAnswersItsParamsAndSendsAUsageEvent) {
    startPlatform("\"product.tv_year\": 23");
    CmdRequest request = handled(
        command(BRIGHTNESS_CONTROL, "brightnessControl", R"({"AccessToken":"t","brightness":30})"),
        nullptr);
    EXPECT_FALSE(request.bJsonRpcError);
    EXPECT_EQ(JsonValue::Create(R"({"brightness":30})"), request.result);
    EXPECT_EQ(std::vector<std::string>{"{svn=ipcontrol;cm=set;rn=brightnessControl;pn=brightness;"
                                       "pv=30}"},
              helpertest::kpiDescriptions(m_dir));
}

}  // namespace
