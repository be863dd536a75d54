// The concrete control helpers: what each builds or refuses before any framework call, how each
// shapes the framework's answer, and which commands send a usage event.
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "System/AppControlHelper.h"
#include "System/ChannelControlHelper.h"
#include "System/DeviceControlHelper.h"
#include "System/DisplayRotatorControlHelper.h"
#include "System/ExpertPictureControlHelper.h"
#include "System/HelperTestSupport.h"
#include "System/InputControlHelper.h"
#include "System/MultiViewControlHelper.h"
#include "System/PictureControlHelper.h"
#include "System/PowerControlHelper.h"
#include "System/SoundControlHelper.h"
#include "System/SourceControlHelper.h"
#include "System/SystemApi.h"
#include "System/TVCommandMaps.h"
#include "System/TVControlHelper.h"
#include "System/WallModeControlHelper.h"
#include "device_power.h"
#include "dlog.h"
#include "support/PlatformTest.h"

using namespace helpertest;

static bool g_catalogueUp = true;

// The TV's app catalogue, standing in for the real lookup at link time.
extern "C" int was_get_appid_by_runtitle(const char* run_title, char** app_id) {
    const std::string title = run_title;
    const char* id = title == "Netflix" ? "1001" : title == "AmazonInstantVideo" ? "1002" : nullptr;
    *app_id = g_catalogueUp && id != nullptr ? strdup(id) : nullptr;
    return *app_id != nullptr ? 0 : -1;
}

namespace {

const char* const kRead = R"({"AccessToken":"t"})";

class ControlHelpersTest : public testsupport::PlatformTest {
protected:
    AppControlHelper m_app;
    ChannelControlHelper m_channel;
    DeviceControlHelper m_device;
    InputControlHelper m_input;
    PictureControlHelper m_picture;
    PowerControlHelper m_power;
    SoundControlHelper m_sound;
    SourceControlHelper m_source;
    WallModeControlHelper m_wall;
    ExpertPictureControlHelper m_expert;
    MultiViewControlHelper m_multiView;
    DisplayRotatorControlHelper m_rotator;
};

// Unusable params build nothing: with no failure recorded the handler fails the write as
// refused; unknown words and writes to read-only methods record their own failure.
TEST_F(ControlHelpersTest, BuildsThePropertiesOrRefusesBeforeAnyCall) {
    const struct {
        IControlHelper& helper;
        DYNF_TVCONTROL_PROP_TYPE type;
        const char* params;
        const char* sent;  // the properties as answer() writes them; null: nothing built
        Failure failure;
        bool catalogueUp = true;
    } cases[] = {
        {m_power, POWER_CONTROL, R"({"power":"reboot"})", R"({"powerValue":"reboot"})", kNone},
        {m_picture, GET_VIDEO_STATES, R"({"contrast":1,"tint":5})", nullptr, kNotSupported},
        // Deliberately lenient words: every mute word but "muteOn" unmutes, an unknown speaker
        // word is sent as "".
        {m_sound, MUTE_CONTROL, R"({"mute":"on"})", R"({"mute":false})", kNone},
        {m_sound, SPEAKER_SELECT_CONTROL, R"({"speakerSelect":"internal"})", R"({"speaker":""})",
         kNone},
        {m_source, INPUT_SOURCE_CONTROL, R"({"inputSource":"TV"})", R"({"inputSource":"dtv"})",
         kNone},
        {m_source, INPUT_SOURCE_CONTROL, R"({"inputSource":"Component"})",
         R"({"extendedSource":"Component"})", kNone},
        {m_source, USB_SOURCE_CONTROL, R"({"deviceName":"","deviceId":"usb1"})", nullptr, kNone},
        {m_input, REMOTE_KEY_CONTROL, R"({"AccessToken":"t","remoteKey":"enter"})",
         R"({"remoteKey":{"keyName":"KEY_OK","keyStatus":"pressAndRelease"}})", kNone},
        {m_input, CHANNEL_UP_DN_CONTROL, R"({"control":"power"})",  // one map for all three
         R"({"remoteKey":{"keyName":"KEY_POWER","keyStatus":"pressAndRelease"}})", kNone},
        {m_input, REMOTE_KEY_CONTROL, R"({"remoteKey":"Enter"})", nullptr, kInvalid},
        {m_input, REMOTE_KEY_CONTROL, R"({"control":"enter"})", nullptr, kInvalid},
        {m_input, REMOTE_KEY_CONTROL, kRead, nullptr, kNotSupported},
        {m_app, DIRECT_ACCESS_CONTROL, R"({"applicationName":"Amazon Prime Video"})",
         R"({"launchApp":{"targetAppId":"1002","targetAppName":"amazon"}})", kNone},
        {m_app, DIRECT_ACCESS_CONTROL, R"({"applicationName":"YouTube","url":"http://a"})",
         R"({"launchApp":{"targetAppId":"111299001912","targetAppName":"youTube"}})", kNone},
        {m_app, DIRECT_ACCESS_CONTROL, R"({"applicationName":"Internet","url":"http://a"})",
         R"({"launchApp":{"targetAppId":"org.orvane.browser","targetAppName":"webBrowser",
             "targetAppParam":"http://a"}})",
         kNone},
        {m_app, DIRECT_ACCESS_CONTROL, kRead, nullptr, kInvalid},  // launching needs a name
        {m_app, DIRECT_ACCESS_CONTROL, R"({"url":"http://a"})", nullptr, kInvalid},
        {m_app, FIRST_SCREEN_APP_CONTROL, R"({"applicationName":"Netflix"})",
         R"({"firstScreenAppId":{"id":"1001"}})", kNone},
        {m_app, FIRST_SCREEN_APP_CONTROL, kRead, R"({"firstScreenAppList":[]})", kNone},
        {m_app, FIRST_SCREEN_APP_CONTROL, R"({"contentInfo":"x"})", nullptr, kInvalid},
        {m_app, FIRST_SCREEN_APP_CONTROL, R"({"applicationName":"Disney"})",
         R"({"firstScreenAppId":{}})", kNone},
        // A title the catalogue does not resolve goes out unresolved, for the TV to refuse.
        {m_app, DIRECT_ACCESS_CONTROL, R"({"applicationName":"Netflix"})",
         R"({"launchApp":{"targetAppId":"RunTitle_Netflix","targetAppName":"netflix"}})", kNone,
         false},
        // Expert keys are the method name without "Control", dot kept.
        {m_expert, AMP_BLUR_REDUCTION_CONTROL, R"({"AMP.blurReduction":"3"})",
         R"({"blurReduction":3})", kNone},
        {m_expert, GAMMA_BT1886_CONTROL, R"({"gammaBT1886":1})", nullptr, kNone},
        {m_rotator, DISPLAY_ROTATOR_CONTROL, R"({"rotation":"portrait"})",
         R"({"displayRotation":"portrait"})", kNone},
        {m_channel, DIRECT_CHANNEL_CONTROL, R"({"major":"7"})",
         R"({"channelMajor":7,"channelMinor":0})", kNone},
        {m_channel, DIRECT_CHANNEL_CONTROL, R"({"minor":1})", nullptr, kNone},
        {m_channel, DIRECT_CHANNEL_CONTROL, R"({"major":7,"minor":{}})", nullptr, kNone},
        // Sources are named as "inputSourceControl" names them.
        {m_multiView, MULTIVIEW_CONTROL, R"({"multiView":"on","sources":["TV","HDMI1"]})",
         R"({"multiView":{"on":true,"sources":["dtv","HDMI1"]}})", kNone},
        {m_multiView, MULTIVIEW_CONTROL, R"({"layout":"pip"})", nullptr, kNone},
        {m_multiView, MULTIVIEW_CONTROL, R"({"multiView":"maybe"})", nullptr, kInvalid},
        {m_multiView, MULTIVIEW_CONTROL, R"({"multiView":"on","sources":["HDMI1",2]})", nullptr,
         kInvalid},
        {m_multiView, MULTIVIEW_CONTROL, R"({"multiView":"on","layout":4})", nullptr, kInvalid},
        // A cabinet filter is text; a number is taken in its JSON spelling.
        {m_wall, GET_CABINET_STATES, R"({"groupId":5,"other":1})",
         R"({"wallCabinetStates":{"groupId":"5"}})", kNone},
        {m_wall, GET_CABINET_STATES, R"({"groupId":["A"]})", nullptr, kNone},
        {m_wall, GET_BOX_STATES, R"({"boxId":"1"})", nullptr, kNotSupported},
        {m_wall, GET_CABINET_GROUP_IDS, R"({"groupId":"A"})", nullptr, kNotSupported},
        {m_device, GET_TV_STATES, R"({"power":"on"})", nullptr, kNotSupported},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.type) + " " + c.params);
        g_catalogueUp = c.catalogueUp;
        CmdRequest request = command(c.type, c.params);
        const JsonValue params = request.params;
        EXPECT_EQ(c.sent != nullptr ? JsonValue::Create(c.sent) : JsonValue(),
                  sent(c.helper, request));
        expectFailure(request, c.failure);
        EXPECT_EQ(params, request.params);  // a write's answer is made from them
    }
    g_catalogueUp = true;
}

TEST_F(ControlHelpersTest, ShapesTheFrameworksAnswer) {
    const struct {
        IControlHelper& helper;
        DYNF_TVCONTROL_PROP_TYPE type;
        const char* answer;  // as answer() reads it; null: no list
        const char* result;  // null: not looked at
        Failure failure;
        dynf_error error = DYNF_ERROR_NONE;
        const char* params = nullptr;  // null: a read
    } cases[] = {
        {m_power, POWER_CONTROL, R"({"powerValue":"reboot"})", R"({"power":"reboot"})", kNone},
        {m_power, POWER_CONTROL, R"({"powerValue":"standby"})", "{}", kNone},
        {m_power, POWER_CONTROL, R"({"volume":3})", nullptr, kMissing},
        // One missing state fails the read; the others are still answered.
        {m_picture, GET_VIDEO_STATES, R"({"contrast":1,"sharpness":2,"color":4,"tint":5})",
         R"({"contrast":1,"sharpness":2,"color":4,"tint":5})", kMissing},
        {m_picture, COLOR_CONTROL, R"({"color":"4"})", nullptr, kMissing},
        {m_sound, SPEAKER_SELECT_CONTROL, R"({"speaker":"hdmi"})", "{}", kNone},
        {m_sound, DIRECT_VOLUME_CONTROL, R"({"mute":"x"})", nullptr, kMissing},
        // The speaker list is rebuilt with the client's keys, names copied unescaped.
        {m_sound, EXTERNAL_SPEAKER_CONTROL,
         R"({"connectedExternalSpeakerList":[{"id":"1","name":"A"},"skipped",{"id":"2","name":"B"}]})",
         R"([{"deviceName":"A","deviceId":"1"},{"deviceName":"B","deviceId":"2"}])", kNone},
        {m_sound, EXTERNAL_SPEAKER_CONTROL, R"({"connectedExternalSpeakerList":[]})", "{}", kNone},
        {m_sound, EXTERNAL_SPEAKER_CONTROL,
         R"({"connectedExternalSpeakerList":[{"id":"1","name":"Bar \"X\""}]})", "null", kNone},
        {m_sound, EXTERNAL_SPEAKER_CONTROL, R"({"connectedExternalSpeakerList":"[{"})", "null",
         kNone},
        {m_sound, EXTERNAL_SPEAKER_CONTROL, R"({"speaker":"external"})", "{}", kNone},
        {m_sound, EXTERNAL_SPEAKER_CONTROL, nullptr, "{}", kNone, DYNF_ERROR_NOT_SUPPORTED},
        {m_sound, EXTERNAL_SPEAKER_CONTROL, nullptr, nullptr, kInvalid, DYNF_ERROR_INVALID_VALUE,
         R"({"deviceName":"Bar","deviceId":"1"})"},
        {m_source, INPUT_SOURCE_CONTROL, R"({"inputSource":"dtv","extendedSource":""})",
         R"({"inputSource":"TV"})", kNone},
        {m_source, INPUT_SOURCE_CONTROL, R"({"inputSource":"","extendedSource":""})", "{}", kNone},
        {m_source, INPUT_SOURCE_CONTROL, R"({"inputSource":"dtv","extendedSource":"Component"})",
         R"({"inputSource":"Component"})", kNone},
        {m_source, INPUT_SOURCE_CONTROL, R"({"inputSource":"dtv"})", nullptr, kMissing},
        {m_source, INPUT_SOURCE_CONTROL, R"({"extendedSource":""})", nullptr, kMissing},
        {m_source, USB_SOURCE_CONTROL,
         R"({"connectedExtendedSourceList":[
             {"name":"Stick","id":"usb1","uniqueKey":"k1","errorCode":0,"unavailable":false},
             {"name":"Disk","id":"usb2","errorCode":3,"unavailable":false},
             {"name":"Old","id":"usb3","unavailable":true},"skipped"]})",
         R"([{"deviceName":"Stick","deviceId":"usb1","source":"USB","available":true,"errorCode":0},
             {"deviceName":"Disk","deviceId":"usb2","source":"USB","available":false,"errorCode":3},
             {"deviceName":"Old","deviceId":"usb3","source":"USB","available":false,"errorCode":0}])",
         kNone},
        {m_source, USB_SOURCE_CONTROL, R"({"connectedExtendedSourceList":[]})", "[]", kNone},
        {m_source, USB_SOURCE_CONTROL, nullptr, "[]", kNone, DYNF_ERROR_NOT_SUPPORTED},
        {m_source, USB_SOURCE_CONTROL, R"({"connectedExtendedSourceList":"[{"})", nullptr,
         kMissing},
        {m_source, USB_SOURCE_CONTROL, R"({"connectedExtendedSourceList":{"name":"Stick"}})",
         nullptr, kMissing},
        {m_app, FIRST_SCREEN_APP_CONTROL, R"({"firstScreenAppList":[{"name":"Hulu","id":"7"}]})",
         R"({"firstScreenAppList":[{"name":"Hulu","id":"7"}]})", kNone},
        {m_app, FIRST_SCREEN_APP_CONTROL, R"({"firstScreenAppList":["Hulu"]})", nullptr,
         kUnreadable},
        // A read that reaches a helper without a reader fails rather than answering nothing.
        {m_input, REMOTE_KEY_CONTROL, R"({"remoteKey":"x"})", nullptr, kUnreadable},
        {m_expert, GAMMA_BT1886_CONTROL, R"({"gammaBT1886":-2})", R"({"gamma.BT1886":-2})", kNone},
        {m_channel, DIRECT_CHANNEL_CONTROL, R"({"channelMajor":11,"channelMinor":2})",
         R"({"major":11,"minor":2})", kNone},
        {m_multiView, MULTIVIEW_CONTROL,
         R"({"multiView":{"on":true,"layout":"pip","sources":["dtv","HDMI2"]}})",
         R"({"multiView":"on","layout":"pip","sources":["TV","HDMI2"]})", kNone},
        // The filter travels in params, yet the answer is the cabinets, not an echo.
        {m_wall, GET_CABINET_STATES, R"({"wallCabinetStates":[{"cabinetId":"A1"}]})",
         R"({"cabinets":[{"cabinetId":"A1"}]})", kNone, DYNF_ERROR_NONE, R"({"groupId":"A"})"},
        {m_wall, GET_CABINET_STATES, nullptr, nullptr, kMissing, DYNF_ERROR_NOT_AVAILABLE,
         R"({"groupId":"A"})"},
        {m_wall, GET_BOX_STATES, R"({"wallBoxStates":{"boxId":"1"}})", nullptr, kMissing},
        {m_wall, GET_BOX_STATES, R"({"wallBoxStates":"not json"})", nullptr, kMissing},
    };
    for (const auto& c : cases) {
        const char* params = c.params != nullptr ? c.params : kRead;
        SCOPED_TRACE(std::to_string(c.type) + " " + params + " " +
                     (c.answer != nullptr ? c.answer : "no list"));
        CmdRequest request = command(c.type, params);
        List list = answer(c.answer);
        c.helper.handleResult(c.error, list.get(), &request);
        expectFailure(request, c.failure);
        if (c.result != nullptr) {
            EXPECT_EQ(JsonValue::Create(c.result), request.result);
        }
    }
}

// A write is answered with exactly its params without the token: whatever members a helper
// looks for, absent ones must not turn up in the answer (as null members).
TEST(ControlHelperWriteTest, EveryWriteIsAnsweredWithExactlyItsParams) {
    TVControlHelper helpers;
    helpers.create();
    TVCommandMaps maps;
    maps.generateControlHelpersMap(helpers);
    const char* const writes[] = {
        R"({"AccessToken":"t","extra":{"a":[1]}})",
        R"({"AccessToken":"t","extra":1,"applicationName":"Internet","multiView":"off",
            "deviceName":"d","deviceId":"1","major":"7"})",
    };
    for (int type = 0; type < TVCONTROL_PROP_TYPE_INVALID; ++type) {
        const auto propType = static_cast<DYNF_TVCONTROL_PROP_TYPE>(type);
        std::shared_ptr<IControlHelper> helper = maps.getHelper(propType);
        ASSERT_TRUE(helper) << type;
        for (const char* params : writes) {
            SCOPED_TRACE(std::to_string(type) + " " + params);
            CmdRequest request = command(propType, params);
            const JsonValue given = request.params;
            List list(helper->getPropertyData(&request));
            EXPECT_EQ(given, request.params);
            if (list == nullptr || request.bJsonRpcError) {
                continue;
            }
            helper->handleResult(DYNF_ERROR_NONE, nullptr, &request);
            if (type != GET_CABINET_STATES) {  // a read, answered with cabinets
                JsonValue expected = given;
                expected.removeMember("AccessToken");
                EXPECT_EQ(expected, request.result);
            }
        }
    }
}

// The TV's states, on a product whose ambient screen shows them.
const char* const kStates = R"({"powerValue":"on","volume":15,"mute":true,"inputSource":"dtv",
    "extendedSource":"","channelMajor":7,"channelMinor":1,"pictureMode":"Movie",
    "soundMode":"Standard","launchApp":{"title":"Clock"},"artMode":"off"})";

TEST_F(ControlHelpersTest, TVStatesAreReadInClientWords) {
    startPlatform("\"easel_tv\": true, \"ambient_screen_support\": true");
    SystemApi::getInstance().reloadFeatures();  // as the service does when it starts
    device_power_set_ambient_mode(2);
    CmdRequest read = command(GET_TV_STATES, kRead);
    const JsonValue asked = sent(m_device, read);
    EXPECT_EQ(11u, asked.size());  // the ten of every product, then art mode
    EXPECT_TRUE(asked.isMember("artMode"));
    m_device.handleResult(DYNF_ERROR_NONE, answer(kStates).get(), &read);
    expectFailure(read, kNone);
    EXPECT_EQ(JsonValue::Create(R"({"power":"powerOn","volume":15,"mute":"muteOn",
        "inputSource":"TV","channel":{"major":7,"minor":1},"pictureMode":"Movie",
        "soundMode":"Standard","applicationName":"Clock","artMode":"off","ambientMode":true})"),
              read.result);
    device_power_set_ambient_mode(0);
}

// An Easel TV refuses screen-sensitive writes only while it shows art; its flag says just that.
TEST_F(ControlHelpersTest, EaselTVReportsTheAmbientThatRefusesWrites) {
    startPlatform("\"easel_tv\": true");
    SystemApi::getInstance().reloadFeatures();
    device_power_set_ambient_mode(1);
    for (const int type : {4, 3}) {
        device_power_set_ambient_type(type);
        CmdRequest read = command(GET_TV_STATES, "{}");
        JsonValue states = JsonValue::Create(kStates);
        states["launchApp"] = JsonValue(JsonType::objectValue);
        m_device.handleResult(DYNF_ERROR_NONE, answer(states.toString().c_str()).get(), &read);
        EXPECT_EQ(JsonValue(type == 4), read.result["ambientMode"]) << type;
        EXPECT_EQ(JsonValue("unknown"), read.result["applicationName"]);
    }
    device_power_set_ambient_mode(0);
    device_power_set_ambient_type(0);
}

// Usage counts what was done: no event follows a failure, even one a helper answers itself.
TEST_F(ControlHelpersTest, OnlyCommandsThatSucceededSendAUsageEvent) {
    startPlatform("\"product.tv_year\": 23");
    const struct {
        IControlHelper& helper;
        DYNF_TVCONTROL_PROP_TYPE type;
        const char* method;
        const char* params;
        dynf_error error;
        const char* answer;
    } commands[] = {
        {m_picture, BRIGHTNESS_CONTROL, "brightnessControl", R"({"brightness":30})",
         DYNF_ERROR_NONE, nullptr},
        {m_picture, BRIGHTNESS_CONTROL, "brightnessControl", R"({"brightness":99})",
         DYNF_ERROR_INVALID_VALUE, nullptr},
        {m_power, POWER_CONTROL, "powerControl", kRead, DYNF_ERROR_NONE, R"({"powerValue":"on"})"},
        {m_power, POWER_CONTROL, "powerControl", kRead, DYNF_ERROR_NONE, "{}"},
        {m_sound, EXTERNAL_SPEAKER_CONTROL, "externalSpeakerControl", kRead,
         DYNF_ERROR_NOT_SUPPORTED, nullptr},
        {m_source, INPUT_SOURCE_CONTROL, "inputSourceControl", kRead, DYNF_ERROR_NONE,
         R"({"inputSource":"dtv","extendedSource":""})"},
        {m_channel, DIRECT_CHANNEL_CONTROL, "directChannelControl", kRead, DYNF_ERROR_NONE,
         R"({"channelMajor":11,"channelMinor":2})"},
        {m_expert, BACKLIGHT_CONTROL, "backlightControl", R"({"AccessToken":"t","backlight":20})",
         DYNF_ERROR_NONE, nullptr},
        {m_multiView, MULTIVIEW_CONTROL, "multiviewControl", R"({"multiView":"on"})",
         DYNF_ERROR_NOT_SUPPORTED, nullptr},
        {m_app, DIRECT_ACCESS_CONTROL, "directAccessControl",
         R"({"applicationName":"Prime Video"})", DYNF_ERROR_NONE, nullptr},
        {m_app, DIRECT_ACCESS_CONTROL, "directAccessControl", R"({"applicationName":"Hulu"})",
         DYNF_ERROR_INVALID_VALUE, nullptr},
        {m_app, ART_MODE_CONTROL, "artModeControl", R"({"artMode":"on"})", DYNF_ERROR_NONE,
         nullptr},
        {m_app, FIRST_SCREEN_APP_CONTROL, "firstScreenAppControl",
         R"({"applicationName":"Netflix"})", DYNF_ERROR_NONE, nullptr},
        {m_input, REMOTE_KEY_CONTROL, "remoteKeyControl", R"({"remoteKey":"enter"})",
         DYNF_ERROR_NONE, nullptr},
        {m_input, REMOTE_KEY_CONTROL, "remoteKeyControl", R"({"remoteKey":"enter"})",
         DYNF_ERROR_NOT_AVAILABLE, nullptr},
    };
    for (const auto& c : commands) {
        CmdRequest request = command(c.type, c.params, c.method);
        c.helper.handleResult(c.error, answer(c.answer).get(), &request);
    }
    std::vector<std::string> events;
    dlog_flush();  // the log's thread writes the events
    for (const std::string& line : testsupport::readLines(m_dir.file("kpi.log"))) {
        const JsonValue event = JsonValue::Create(line);
        EXPECT_EQ("23_ip_control", event["kpiName"].asString());
        events.push_back(event["eventName"].asString() + " " + event["eventId"].asString() + " " +
                         event["description"].asString());
    }
    const std::vector<std::string> expected = {
        "COMMAND EV002 {svn=ipcontrol;cm=set;rn=brightnessControl;pn=brightness;pv=30}",
        "COMMAND EV002 {svn=ipcontrol;cm=get;rn=powerControl;pn=power;pv=powerOn}",
        "COMMAND EV002 {svn=ipcontrol;cm=get;rn=inputSourceControl;pn=inputSource;pv=TV}",
        "COMMAND EV002 {svn=ipcontrol;cm=set;rn=backlightControl;pn=backlight;pv=20}",
        "APPLICATION EV003 {an=Prime Video}",
        "COMMAND EV002 {svn=ipcontrol;cm=set;rn=artModeControl;pn=artMode;pv=on}",
        ("COMMAND EV002 {svn=ipcontrol;cm=set;rn=firstScreenAppControl;pn=applicationName;"
         "pv=Netflix}"),
        "COMMAND EV002 {svn=ipcontrol;cm=set;rn=remoteKeyControl;pn=remoteKey;pv=enter}",
    };
    EXPECT_EQ(expected, events);
}

}  // namespace
