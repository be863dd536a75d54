// Expert picture, channel, TV state, multi-view and wall helpers: how answers are shaped and
// what is refused before any framework call.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "System/ChannelControlHelper.h"
#include "System/DeviceControlHelper.h"
#include "System/DisplayRotatorControlHelper.h"
#include "System/ExpertPictureControlHelper.h"
#include "System/HelperTestSupport.h"
#include "System/MultiViewControlHelper.h"
#include "System/SystemApi.h"
#include "System/WallModeControlHelper.h"
#include "device_power.h"
#include "support/PlatformTest.h"

using common::json::JsonValue;
using helpertest::answer;
using helpertest::command;
using helpertest::List;

namespace {

// A read's answer or a write's echo, when the framework accepted the command.
CmdRequest handled(IControlHelper& helper, CmdRequest request, List result = nullptr) {
    return helpertest::handled(helper, std::move(request), DYNF_ERROR_NONE, std::move(result));
}

class ExtendedControlHelpersTest : public testsupport::PlatformTest {
protected:
    ExpertPictureControlHelper m_expert;
    DisplayRotatorControlHelper m_rotator;
    ChannelControlHelper m_channel;
    DeviceControlHelper m_device;
    MultiViewControlHelper m_multiView;
    WallModeControlHelper m_wall;
};

TEST_F(ExtendedControlHelpersTest, UnusableCommandsFailBeforeAnyCall) {
    // What the command records: nothing (the handler then fails the write), an unknown word, or
    // a write to a read-only method.
    enum Recorded { NOTHING, UNKNOWN_WORD, READ_ONLY };
    struct Case {
        IControlHelper& helper;
        DYNF_TVCONTROL_PROP_TYPE type;
        const char* params;
        Recorded recorded;
    };
    const Case cases[] = {
        {m_expert, BACKLIGHT_CONTROL, R"({"light":5})", NOTHING},
        {m_expert, BACKLIGHT_CONTROL, R"({"backlight":"five"})", NOTHING},
        {m_expert, GAMMA_MODE_CONTROL, R"({"gammaMode":[5]})", NOTHING},
        {m_expert, GAMMA_BT1886_CONTROL, R"({"gammaBT1886":1})", NOTHING},  // not its key
        {m_rotator, DISPLAY_ROTATOR_CONTROL, R"({"rotate":"portrait"})", NOTHING},
        {m_channel, DIRECT_CHANNEL_CONTROL, R"({"minor":1})", NOTHING},
        {m_channel, DIRECT_CHANNEL_CONTROL, R"({"major":7,"minor":{}})", NOTHING},
        {m_multiView, MULTIVIEW_CONTROL, R"({"layout":"pip"})", NOTHING},
        {m_wall, GET_CABINET_STATES, R"({"groupId":["A"]})", NOTHING},
        {m_multiView, MULTIVIEW_CONTROL, R"({"multiView":"maybe"})", UNKNOWN_WORD},
        {m_multiView, MULTIVIEW_CONTROL, R"({"multiView":"on","sources":["HDMI1",2]})",
         UNKNOWN_WORD},
        {m_multiView, MULTIVIEW_CONTROL, R"({"multiView":"on","layout":4})", UNKNOWN_WORD},
        {m_device, GET_TV_STATES, R"({"power":"on"})", READ_ONLY},
        {m_wall, GET_BOX_STATES, R"({"boxId":"1"})", READ_ONLY},
        {m_wall, GET_CABINET_GROUP_IDS, R"({"groupId":"A"})", READ_ONLY},
    };
    for (const Case& c : cases) {
        CmdRequest request = command(c.type, "m", c.params);
        EXPECT_TRUE(helpertest::sent(c.helper, request).empty()) << c.params;
        if (c.recorded == NOTHING) {
            EXPECT_FALSE(request.bJsonRpcError) << c.params;
        } else if (c.recorded == READ_ONLY) {
            helpertest::expectError(request, SERVER_ERROR_INVALID_OPERATION,
                                    DEVICE_MANAGER_ERROR_FAILED);
        } else {
            helpertest::expectError(request, INVALID_PARAMS,
                                    DEVICE_MANAGER_ERROR_INVALID_OPERATION);
        }
    }
}

// Dotted expert methods keep the dot in their key, whatever their property is called.
TEST_F(ExtendedControlHelpersTest, ExpertKeyIsTheMethodNameWithoutControl) {
    const struct {
        DYNF_TVCONTROL_PROP_TYPE type;
        const char* key;
        const char* property;
    } rows[] = {
        {AMP_BLUR_REDUCTION_CONTROL, "AMP.blurReduction", "blurReduction"},
        {WB_20P_RED_CONTROL, "WB20P.Red", "WB20PRed"},
        {GAMMA_BT1886_CONTROL, "gamma.BT1886", "gammaBT1886"},
        {COLOR_SPACE_COLOR_ADJUSTMENT_POINT_CONTROL, "colorSpace.ColorAdjustmentPoint",
         "colorSpaceColorAdjustmentPoint"},
    };
    for (const auto& row : rows) {
        CmdRequest write = command(row.type, "m", std::string(R"({")") + row.key + R"(":"3"})");
        const fakedynf::Property property = helpertest::sentOne(m_expert, write);
        EXPECT_EQ(row.property, property.name);
        EXPECT_EQ(3, property.intValue) << row.key;
        CmdRequest read = handled(m_expert, command(row.type, "m", "{}"),
                                  answer({dynf_property_create_int(row.property, -2)}));
        JsonValue expected(common::json::JsonType::objectValue);
        expected[row.key] = -2;
        EXPECT_EQ(expected, read.result);
    }
}

TEST_F(ExtendedControlHelpersTest, CompositeReadsAnswerInClientShape) {
    CmdRequest channel = handled(m_channel, command(DIRECT_CHANNEL_CONTROL, "c", "{}"),
                                 answer({dynf_property_create_int("channelMajor", 11),
                                         dynf_property_create_int("channelMinor", 2)}));
    EXPECT_EQ(JsonValue::Create(R"({"major":11,"minor":2})"), channel.result);

    CmdRequest multiView =
        handled(m_multiView, command(MULTIVIEW_CONTROL, "m", "{}"),
                helpertest::stringAnswer(
                    "multiView", R"({"on":true,"layout":"pip","sources":["dtv","HDMI2"]})"));
    EXPECT_EQ(JsonValue::Create(R"({"multiView":"on","layout":"pip","sources":["TV","HDMI2"]})"),
              multiView.result);
    // Sources are named as "inputSourceControl" names them.
    CmdRequest choice =
        command(MULTIVIEW_CONTROL, "m", R"({"multiView":"on","sources":["TV","HDMI1"]})");
    EXPECT_EQ(JsonValue::Create(R"({"on":true,"sources":["dtv","HDMI1"]})"),
              JsonValue::Create(helpertest::sentOne(m_multiView, choice).text));

    // A filter is text; a number is taken in its JSON spelling.
    CmdRequest numeric = command(GET_CABINET_STATES, "c", R"({"groupId":5,"other":1})");
    EXPECT_EQ(JsonValue::Create(R"({"groupId":"5"})"),
              JsonValue::Create(helpertest::sentOne(m_wall, numeric).text));

    // The filter travels in params, yet the answer is the cabinets, not an echo.
    const std::string cabinets = R"([{"cabinetId":"A1","groupId":"A","error":""}])";
    CmdRequest filtered = handled(m_wall, command(GET_CABINET_STATES, "c", R"({"groupId":"A"})"),
                                  helpertest::stringAnswer("wallCabinetStates", cabinets));
    EXPECT_EQ(JsonValue::Create(R"({"cabinets":)" + cabinets + "}"), filtered.result);

    for (const char* text : {R"({"boxId":"1"})", "not json"}) {
        CmdRequest boxes = handled(m_wall, command(GET_BOX_STATES, "b", "{}"),
                                   helpertest::stringAnswer("wallBoxStates", text));
        helpertest::expectError(boxes, SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_UNKNOWN);
    }
    CmdRequest refused =
        helpertest::handled(m_wall, command(GET_CABINET_STATES, "c", R"({"groupId":"A"})"),
                            DYNF_ERROR_NOT_AVAILABLE, nullptr);
    helpertest::expectError(refused, SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_UNKNOWN);
}

// The TV's states, on a product with an ambient screen that shows it.
List tvStates(const char* launchApp) {
    return answer(
        {dynf_property_create_string("powerValue", "on"), dynf_property_create_int("volume", 15),
         dynf_property_create_bool("mute", true), dynf_property_create_string("inputSource", "dtv"),
         dynf_property_create_string("extendedSource", ""),
         dynf_property_create_int("channelMajor", 7), dynf_property_create_int("channelMinor", 1),
         dynf_property_create_string("pictureMode", "Movie"),
         dynf_property_create_string("soundMode", "Standard"),
         dynf_property_create_json_string("launchApp", launchApp),
         dynf_property_create_string("artMode", "off")});
}

TEST_F(ExtendedControlHelpersTest, TVStatesReadEverythingInClientWords) {
    startPlatform("\"easel_tv\": true, \"ambient_screen_support\": true");
    SystemApi::getInstance().reloadFeatures();  // as the service does when it starts
    device_power_set_ambient_mode(2);
    CmdRequest read = command(GET_TV_STATES, "getTVStates", R"({"AccessToken":"t"})");
    const std::vector<fakedynf::Property> asked = helpertest::sent(m_device, read);
    ASSERT_EQ(11u, asked.size());  // the ten of every product, then art mode
    EXPECT_EQ("artMode", asked[10].name);

    CmdRequest request = handled(m_device, read, tvStates(R"({"title":"Clock"})"));
    EXPECT_FALSE(request.bJsonRpcError);
    EXPECT_EQ(JsonValue::Create(R"({"power":"powerOn","volume":15,"mute":"muteOn",
        "inputSource":"TV","channel":{"major":7,"minor":1},"pictureMode":"Movie",
        "soundMode":"Standard","applicationName":"Clock","artMode":"off","ambientMode":true})"),
              request.result);
    device_power_set_ambient_mode(0);
}

// An Easel TV refuses screen-sensitive writes only while it shows art; its flag says just that.
TEST_F(ExtendedControlHelpersTest, EaselTVReportsTheAmbientThatRefusesWrites) {
    startPlatform("\"easel_tv\": true");
    SystemApi::getInstance().reloadFeatures();  // as the service does when it starts
    device_power_set_ambient_mode(1);
    for (const int type : {4, 3}) {
        device_power_set_ambient_type(type);
        const CmdRequest request =
            handled(m_device, command(GET_TV_STATES, "getTVStates", "{}"), tvStates("{}"));
        EXPECT_EQ(JsonValue(type == 4), request.result["ambientMode"]) << type;
        EXPECT_EQ(JsonValue("unknown"), request.result["applicationName"]);
    }
    device_power_set_ambient_mode(0);
    device_power_set_ambient_type(0);
}

TEST_F(ExtendedControlHelpersTest, OnlySucceededWritesSendAUsageEvent) {
    startPlatform("\"product.tv_year\": 23");
    CmdRequest written = handled(m_expert, command(BACKLIGHT_CONTROL, "backlightControl",
                                                   R"({"AccessToken":"t","backlight":20})"));
    EXPECT_EQ(JsonValue::Create(R"({"backlight":20})"), written.result);
    helpertest::handled(m_multiView,
                        command(MULTIVIEW_CONTROL, "multiviewControl", R"({"multiView":"on"})"),
                        DYNF_ERROR_NOT_SUPPORTED, nullptr);
    EXPECT_EQ(std::vector<std::string>{"{svn=ipcontrol;cm=set;rn=backlightControl;pn=backlight;"
                                       "pv=20}"},
              helpertest::kpiDescriptions(m_dir));
}

}  // namespace
