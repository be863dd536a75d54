// The virtual TV on the admin API over HTTP: the "tv" state section, the power, ambient, knobs
// and test wall mode routes, and the bodies they refuse.
#include "JsonValue.h"
#include "TvTestSupport.h"
#include "VirtualTvRuntime.h"
#include "support/HttpClient.h"
#include "vconf.h"

namespace tv_test {
namespace {

using common::json::JsonValue;
using testsupport::HttpResponse;

constexpr char kFlagsKey[] = "db/private/ipcontrol/config_flags";

class TvAdminApiTest : public VirtualTvTest {
protected:
    void SetUp() override {
        m_options.dataDir = m_dir.path();
        m_options.resourceDir = m_dir.path();
        m_options.profile = m_dir.file("profile.json");
        m_options.adminServer = true;
        m_options.adminPort = 0;
    }

    HttpResponse request(const std::string& method, const std::string& path,
                         const std::string& body = "") {
        testsupport::HttpClient client;
        if (!client.connect(ipc_platform::adminPort()) ||
            !client.send(method + " " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" +
                         "Content-Type: application/json\r\nContent-Length: " +
                         std::to_string(body.size()) + "\r\n\r\n" + body)) {
            return HttpResponse();
        }
        return client.read().value_or(HttpResponse());
    }

    // The "tv" section of the state.
    JsonValue tvState() { return JsonValue::Create(request("GET", "/api/state").body)["tv"]; }
};

TEST_F(TvAdminApiTest, PowerRouteActsAsTheRemote) {
    startTv(R"({"knobs": {"rebootMs": 60000, "tvServiceAvailable": false}})");
    RecordingClient client;
    ASSERT_TRUE(client.subscribe());
    // The remote works while the IP service is down.
    const HttpResponse off = request("PUT", "/api/tv/power", R"("off")");
    EXPECT_EQ(200, off.status) << off.body;
    EXPECT_EQ("off", tvState()["power"].asString());
    ASSERT_TRUE(client.waitFor("noti ", 1));
    EXPECT_EQ(std::vector<std::string>{"powerValue=off"}, client.notifications());

    EXPECT_EQ(409, request("PUT", "/api/tv/ambientMode", "1").status);
    EXPECT_EQ(200, request("PUT", "/api/tv/power", R"("reboot")").status);
    EXPECT_EQ("reboot", tvState()["power"].asString());
    EXPECT_EQ(409, request("PUT", "/api/tv/power", R"("on")").status);
}

TEST_F(TvAdminApiTest, KnobsRouteChangesOnlyTheGivenKnobs) {
    startTv();
    const HttpResponse response = request(
        "PUT", "/api/tv/knobs",
        R"({"latencyMs": 5, "failNext": {"count": 3, "error": 2}, "wallServiceAvailable": false})");
    EXPECT_EQ(200, response.status) << response.body;
    EXPECT_EQ(JsonValue::Create(R"({"latencyMs":5,"jitterMs":0,"rebootMs":100,)"
                                R"("failNext":{"count":3,"error":2},"tvServiceAvailable":true,)"
                                R"("wallServiceAvailable":false})"),
              tvState()["knobs"]);
    EXPECT_EQ(JsonValue::Create(R"({"tv":true,"wall":false})"), tvState()["service"]);
    EXPECT_EQ(200, request("PUT", "/api/tv/knobs", R"({"tvServiceAvailable": false})").status);
    EXPECT_FALSE(tvState()["service"]["tv"].asBool());
}

struct BadBody {
    const char* name;
    const char* path;
    const char* body;
};

class RefusedAdminBodyTest : public TvAdminApiTest,
                             public ::testing::WithParamInterface<BadBody> {};

TEST_P(RefusedAdminBodyTest, AnswersBadRequestAndChangesNothing) {
    startTv();
    const JsonValue before = tvState();
    const HttpResponse response = request("PUT", GetParam().path, GetParam().body);
    EXPECT_EQ(400, response.status) << response.body;
    EXPECT_EQ(before, tvState());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RefusedAdminBodyTest,
    ::testing::Values(BadBody{"KnobsNotObject", "/api/tv/knobs", "[1]"},
                      BadBody{"KnobsUnknownMember", "/api/tv/knobs",
                              R"({"latencyMs": 5, "speed": 1})"},
                      BadBody{"KnobsFailWithSuccess", "/api/tv/knobs",
                              R"({"latencyMs": 5, "failNext": {"count": 1, "error": 0}})"},
                      BadBody{"PowerClientWord", "/api/tv/power", R"("powerOff")"},
                      BadBody{"AmbientOutOfRange", "/api/tv/ambientMode", "4"},
                      BadBody{"SpeakersSameId", "/api/tv/speakers",
                              R"([{"id": "a", "name": "A"}, {"id": "a", "name": "B"}])"},
                      BadBody{"UsbErrorCodeAsText", "/api/tv/usbDevices",
                              R"([{"id": "u", "name": "U", "errorCode": "0"}])"}),
    [](const ::testing::TestParamInfo<BadBody>& info) { return std::string(info.param.name); });

TEST_F(TvAdminApiTest, DeviceRoutesPlugInAndOut) {
    startTv();
    EXPECT_EQ(200,
              request("PUT", "/api/tv/speakers", R"([{"id": "sb", "name": "Soundbar"}])").status);
    EXPECT_EQ(200,
              request("PUT", "/api/tv/usbDevices", R"([{"id": "u1", "name": "Stick"}])").status);
    EXPECT_EQ(R"([{"name":"Stick","id":"u1","uniqueKey":"u1","errorCode":0,"unavailable":false}])",
              tvState()["properties"]["connectedExtendedSourceList"].asString());
    RecordingClient client;
    ASSERT_EQ(DYNF_ERROR_NONE, client.write(textProp("speaker", "external")));
    ASSERT_EQ(DYNF_ERROR_NONE,
              client.write(textProp("extendedSource", R"({"additionalData":"u1"})")));
    // Unplugging what is in use falls back to the TV's own speaker and tuner.
    EXPECT_EQ(200, request("PUT", "/api/tv/speakers", "[]").status);
    EXPECT_EQ(200, request("PUT", "/api/tv/usbDevices",
                           R"([{"id": "u1", "name": "Stick", "unavailable": true}])")
                       .status);
    const JsonValue properties = tvState()["properties"];
    EXPECT_EQ("internal", properties["speaker"].asString());
    EXPECT_EQ("dtv", properties["inputSource"].asString());
    EXPECT_EQ("", properties["extendedSource"].asString());
}

TEST_F(TvAdminApiTest, TestWallModeKeepsTheOtherFlagsAndIsAnnounced) {
    startTv();
    ASSERT_EQ(0, vconf_set_str(kFlagsKey, R"({"other":1})"));
    int changes = 0;
    ASSERT_EQ(
        0, vconf_notify_key_changed(
               kFlagsKey, [](const char*, void* count) { ++*static_cast<int*>(count); }, &changes));
    testsupport::pumpMainLoopUntil([&] { return changes == 1; });
    EXPECT_EQ(200, request("PUT", "/api/tv/testWallMode", "true").status);
    char* flags = vconf_get_str(kFlagsKey);
    EXPECT_STREQ(R"({"other":1,"test_wall_mode":true})", flags);
    free(flags);
    EXPECT_TRUE(tvState()["testWallMode"].asBool());
    EXPECT_TRUE(testsupport::pumpMainLoopUntil([&] { return changes == 2; }));

    // Flags that do not hold an object are replaced.
    ASSERT_EQ(0, vconf_set_str(kFlagsKey, "garbage"));
    EXPECT_EQ(200, request("PUT", "/api/tv/testWallMode", "false").status);
    flags = vconf_get_str(kFlagsKey);
    EXPECT_STREQ(R"({"test_wall_mode":false})", flags);
    free(flags);
}

}  // namespace
}  // namespace tv_test
