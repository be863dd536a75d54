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
    struct Case {
        IControlHelper& helper;
        DYNF_TVCONTROL_PROP_TYPE type;
        const char* params;
        bool readOnly;  // a write to a read-only method, not unusable params
    };
    const Case cases[] = {
        {m_expert, BACKLIGHT_CONTROL, R"({"light":5})", false},
        {m_expert, BACKLIGHT_CONTROL, R"({"backlight":"five"})", false},
        {m_expert, GAMMA_MODE_CONTROL, R"({"gammaMode":[5]})", false},
        {m_rotator, DISPLAY_ROTATOR_CONTROL, R"({"rotate":"portrait"})", false},
        {m_channel, DIRECT_CHANNEL_CONTROL, R"({"minor":1})", false},
        {m_channel, DIRECT_CHANNEL_CONTROL, R"({"major":7,"minor":{}})", false},
        {m_multiView, MULTIVIEW_CONTROL, R"({"layout":"pip"})", false},
        {m_multiView, MULTIVIEW_CONTROL, R"({"multiView":"maybe"})", false},
        {m_multiView, MULTIVIEW_CONTROL, R"({"multiView":"on","sources":["HDMI1",2]})", false},
        {m_multiView, MULTIVIEW_CONTROL, R"({"multiView":"on","layout":4})", false},
        {m_wall, GET_CABINET_STATES, R"({"groupId":["A"]})", false},
        {m_device, GET_TV_STATES, R"({"power":"on"})", true},
        {m_wall, GET_BOX_STATES, R"({"boxId":"1"})", true},
        {m_wall, GET_CABINET_GROUP_IDS, R"({"groupId":"A"})", true},
    };
    for (const Case& c : cases) {
        CmdRequest request = command(c.type, "m", c.params);
        EXPECT_TRUE(helpertest::sent(c.helper, request).empty()) << c.params;
        if (c.readOnly) {
            helpertest::expectError(request, SERVER_ERROR_INVALID_OPERATION,
                                    DEVICE_MANAGER_ERROR_FAILED);
        } else {
            helpertest::expectError(request, INVALID_PARAMS,
                                    DEVICE_MANAGER_ERROR_INVALID_OPERATION);
        }
    }
}

TEST_F(ExtendedControlHelpersTest, CompositeReadsAnswerInClientShape) {
    CmdRequest channel = handled(m_channel, command(DIRECT_CHANNEL_CONTROL, "c", "{}"),
                                 answer({dynf_property_create_int("channelMajor", 11),
                                         dynf_property_create_int("channelMinor", 2)}));
    EXPECT_EQ(JsonValue::Create(R"({"major":11,"minor":2})"), channel.result);

    CmdRequest multiView =
        handled(m_multiView, command(MULTIVIEW_CONTROL, "m", "{}"),
                helpertest::stringAnswer("multiView",
                                         R"({"on":true,"layout":"pip","sources":["TV","HDMI2"]})"));
    EXPECT_EQ(JsonValue::Create(R"({"multiView":"on","layout":"pip","sources":["TV","HDMI2"]})"),
              multiView.result);

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

TEST_F(ExtendedControlHelpersTest, TVStatesReadEverythingInClientWords) {
    startPlatform("\"easel_tv\": true, \"ambient_screen_support\": true");
    SystemApi::getInstance().reloadFeatures();  // as the service does when it starts
    CmdRequest read = command(GET_TV_STATES, "getTVStates", R"({"AccessToken":"t"})");
    const std::vector<fakedynf::Property> asked = helpertest::sent(m_device, read);
    ASSERT_EQ(12u, asked.size());  // the ten of every product, then art and ambient mode
    EXPECT_EQ("artMode", asked[10].name);
    EXPECT_EQ("ambientMode", asked[11].name);

    List states = answer(
        {dynf_property_create_string("powerValue", "on"), dynf_property_create_int("volume", 15),
         dynf_property_create_bool("mute", true), dynf_property_create_string("inputSource", "dtv"),
         dynf_property_create_string("extendedSource", ""),
         dynf_property_create_int("channelMajor", 7), dynf_property_create_int("channelMinor", 1),
         dynf_property_create_string("pictureMode", "Movie"),
         dynf_property_create_string("soundMode", "Standard"),
         dynf_property_create_json_string("launchApp", R"({"title":"Clock"})"),
         dynf_property_create_string("artMode", "off"),
         dynf_property_create_int("ambientMode", 2)});
    CmdRequest request = handled(m_device, read, std::move(states));
    EXPECT_FALSE(request.bJsonRpcError);
    EXPECT_EQ(JsonValue::Create(R"({"power":"powerOn","volume":15,"mute":"muteOn",
        "inputSource":"TV","channel":{"major":7,"minor":1},"pictureMode":"Movie",
        "soundMode":"Standard","application":"Clock","artMode":"off","ambientMode":true})"),
              request.result);
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
