// Input and app control: key presses, launches and choices by app name, reads, usage events.
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "Manager/CmdRequest.h"
#include "System/AppControlHelper.h"
#include "System/HelperTestSupport.h"
#include "System/InputControlHelper.h"
#include "support/PlatformTest.h"
#include "dlog.h"

using common::json::JsonValue;

static bool g_catalogueUp = true;

// The TV's app catalogue, standing in for the real lookup at link time.
extern "C" int was_get_appid_by_runtitle(const char* run_title, char** app_id) {
    const std::string title = run_title;
    const char* id = title == "Netflix" ? "1001" : title == "AmazonInstantVideo" ? "1002" : nullptr;
    *app_id = g_catalogueUp && id != nullptr ? strdup(id) : nullptr;
    return *app_id != nullptr ? 0 : -1;
}

namespace {

using helpertest::command;

TEST(InputAndAppControlHelperTest, BuildsTheNamedKeyOrAppOrRefusesBeforeAnyCall) {
    InputControlHelper input;
    AppControlHelper apps;
    const struct {
        IControlHelper* helper;
        DYNF_TVCONTROL_PROP_TYPE type;
        const char* params;
        const char* property;  // the property sent; null when refused with error
        const char* value;     // JSON text for JSON-string properties
        eJSONRPCErrorCode error = INVALID_PARAMS;
        bool catalogueUp = true;
    } cases[] = {
        {&input, REMOTE_KEY_CONTROL, R"({"AccessToken":"t","remoteKey":"enter"})", "remoteKey",
         R"({"keyName":"KEY_OK","keyStatus":"pressAndRelease"})"},
        {&input, CHANNEL_UP_DN_CONTROL, R"({"control":"power"})", "remoteKey",  // one shared map
         R"({"keyName":"KEY_POWER","keyStatus":"pressAndRelease"})"},
        {&input, REMOTE_KEY_CONTROL, R"({"remoteKey":"Enter"})", nullptr, "", INVALID_PARAMS},
        {&input, REMOTE_KEY_CONTROL, R"({"control":"enter"})", nullptr, "", INVALID_PARAMS},
        {&input, REMOTE_KEY_CONTROL, R"({"AccessToken":"t"})", nullptr, "",
         SERVER_ERROR_INVALID_OPERATION},
        {&apps, DIRECT_ACCESS_CONTROL, R"({"applicationName":"Amazon Prime Video"})", "launchApp",
         R"({"targetAppId":"1002","targetAppName":"amazon"})"},
        {&apps, DIRECT_ACCESS_CONTROL, R"({"applicationName":"YouTube","url":"http://a"})",
         "launchApp", R"({"targetAppId":"111299001912","targetAppName":"youTube"})"},
        {&apps, DIRECT_ACCESS_CONTROL, R"({"applicationName":"Internet","url":"http://a"})",
         "launchApp",
         R"({"targetAppId":"org.orvane.browser","targetAppName":"webBrowser",
             "targetAppParam":"http://a"})"},
        // Launching is all it does: a read has no name.
        {&apps, DIRECT_ACCESS_CONTROL, R"({"AccessToken":"t"})", nullptr, "", INVALID_PARAMS},
        {&apps, FIRST_SCREEN_APP_CONTROL, R"({"applicationName":"Netflix"})", "firstScreenAppId",
         R"({"id":"1001"})"},
        {&apps, FIRST_SCREEN_APP_CONTROL, R"({"AccessToken":"t"})", "firstScreenAppList", "[]"},
        {&apps, DIRECT_ACCESS_CONTROL, R"({"applicationName":"Disney"})", nullptr, "",
         INVALID_PARAMS},
        {&apps, DIRECT_ACCESS_CONTROL, R"({"url":"http://a"})", nullptr, "", INVALID_PARAMS},
        {&apps, FIRST_SCREEN_APP_CONTROL, R"({"contentInfo":"x"})", nullptr, "", INVALID_PARAMS},
        // An unknown first-screen name is the empty choice.
        {&apps, FIRST_SCREEN_APP_CONTROL, R"({"applicationName":"Disney"})", "firstScreenAppId",
         "{}"},
        // A title the TV's catalogue does not resolve goes out unresolved, for the TV to refuse.
        {&apps, DIRECT_ACCESS_CONTROL, R"({"applicationName":"Netflix"})", "launchApp",
         R"({"targetAppId":"RunTitle_Netflix","targetAppName":"netflix"})", INVALID_PARAMS, false},
        {&apps, FIRST_SCREEN_APP_CONTROL, R"({"applicationName":"Prime Video"})",
         "firstScreenAppId", R"({"id":"RunTitle_AmazonInstantVideo"})", INVALID_PARAMS, false},
    };
    for (const auto& c : cases) {
        g_catalogueUp = c.catalogueUp;
        CmdRequest request = command(c.type, "", c.params);
        std::vector<fakedynf::Property> sent = helpertest::sent(*c.helper, request);
        EXPECT_EQ(c.property == nullptr, request.bJsonRpcError) << c.params;
        if (c.property == nullptr) {
            EXPECT_TRUE(sent.empty()) << c.params;
            EXPECT_EQ(c.error, request.errorIndex) << c.params;
            continue;
        }
        ASSERT_EQ(1u, sent.size()) << c.params;
        EXPECT_EQ(c.property, sent[0].name);
        const bool json = sent[0].type == DYNF_PROPERTY_JSON_STRING;
        EXPECT_EQ(json ? JsonValue::Create(c.value) : JsonValue(c.value),
                  json ? JsonValue::Create(sent[0].text) : JsonValue(sent[0].text))
            << c.params;
    }
    g_catalogueUp = true;
}

TEST(InputAndAppControlHelperTest, AppReadAnswersTheTVStateOrFails) {
    const struct {
        DYNF_TVCONTROL_PROP_TYPE type;
        const char* property;
        const char* value;
        const char* result;  // null: the read fails
    } cases[] = {
        {ART_MODE_CONTROL, "artMode", "off", R"({"artMode":"off"})"},
        {FIRST_SCREEN_APP_CONTROL, "firstScreenAppList", R"([{"name":"Hulu","id":"7"}])",
         R"({"firstScreenAppList":[{"name":"Hulu","id":"7"}]})"},
        {FIRST_SCREEN_APP_CONTROL, "firstScreenAppList", "[]", R"({"firstScreenAppList":[]})"},
        {FIRST_SCREEN_APP_CONTROL, "firstScreenAppList", R"(["Hulu"])", nullptr},
    };
    AppControlHelper helper;
    for (const auto& c : cases) {
        const CmdRequest request =
            helpertest::handled(helper, command(c.type, "", R"({"AccessToken":"t"})"),
                                DYNF_ERROR_NONE, helpertest::stringAnswer(c.property, c.value));
        EXPECT_EQ(c.result == nullptr, request.bJsonRpcError) << c.value;
        if (c.result != nullptr) {
            EXPECT_EQ(JsonValue::Create(c.result), request.result) << c.value;
        }
    }
}

class InputAndAppControlKPITest : public testsupport::PlatformTest {};

TEST_F(InputAndAppControlKPITest, EverySuccessfulWriteSendsItsEvent) {
    startPlatform("\"product.tv_year\": 23");
    AppControlHelper apps;
    InputControlHelper input;
    const struct {
        IControlHelper* helper;
        DYNF_TVCONTROL_PROP_TYPE type;
        const char* method;
        const char* params;
        dynf_error error;
    } commands[] = {
        {&apps, DIRECT_ACCESS_CONTROL, "directAccessControl",
         R"({"AccessToken":"t","applicationName":"Prime Video"})", DYNF_ERROR_NONE},
        {&apps, DIRECT_ACCESS_CONTROL, "directAccessControl", R"({"applicationName":"Hulu"})",
         DYNF_ERROR_INVALID_VALUE},
        {&apps, ART_MODE_CONTROL, "artModeControl", R"({"artMode":"on"})", DYNF_ERROR_NONE},
        {&apps, FIRST_SCREEN_APP_CONTROL, "firstScreenAppControl",
         R"({"applicationName":"Netflix"})", DYNF_ERROR_NONE},
        {&input, REMOTE_KEY_CONTROL, "remoteKeyControl", R"({"remoteKey":"enter"})",
         DYNF_ERROR_NONE},
        {&input, REMOTE_KEY_CONTROL, "remoteKeyControl", R"({"remoteKey":"enter"})",
         DYNF_ERROR_NOT_AVAILABLE},
    };
    for (const auto& c : commands) {
        helpertest::handled(*c.helper, command(c.type, c.method, c.params), c.error, nullptr);
    }
    std::vector<std::string> events;
    dlog_flush();  // the log's thread writes the events
    for (const std::string& line : testsupport::readLines(m_dir.file("kpi.log"))) {
        const JsonValue event = JsonValue::Create(line);
        events.push_back(event["eventId"].asString() + " " + event["description"].asString());
    }
    const std::vector<std::string> expected = {
        "EV003 {an=Prime Video}",
        "EV002 {svn=ipcontrol;cm=set;rn=artModeControl;pn=artMode;pv=on}",
        "EV002 {svn=ipcontrol;cm=set;rn=firstScreenAppControl;pn=applicationName;pv=Netflix}",
        "EV002 {svn=ipcontrol;cm=set;rn=remoteKeyControl;pn=remoteKey;pv=enter}",
    };
    EXPECT_EQ(expected, events);
}

}  // namespace
