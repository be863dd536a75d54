// Tests of the platform's part of the admin API: the state, answering the pop-up, settings, the
// request log and the log route.
#include <unistd.h>

#include <gtest/gtest.h>
#include <json-glib/json-glib.h>

#include "AdminTestSupport.h"
#include "dlog.h"
#include "request_log.h"
#include "system_settings.h"

namespace platform_test {
namespace {

using ipc_platform::JsonNodePtr;

// Counts the change callbacks of one setting.
struct ChangeCounter {
    int calls = 0;
    static void onChanged(system_settings_key_e, void* self) {
        ++static_cast<ChangeCounter*>(self)->calls;
    }
};

// The page draws the pop-up's title, content and buttons from it in the browser test (tests/web).
TEST_F(AdminServerTest, StateShowsSettingsAndThePopup) {
    startServer();
    EXPECT_EQ(
        "{\"ipRemoteSupport\":1,\"deviceName\":\"[TV] Living Room\",\"language\":\"en_US.UTF-8\","
        "\"country\":\"en_US.UTF-8\"}",
        member(state(), "settings"));
    EXPECT_EQ("null", member(state(), "notification"));

    PopupEvents popup;
    ASSERT_EQ(NOTIFICATION_ERROR_NONE, postPopup(popup, "IP Remote"));
    const std::string shown = member(state(), "notification");
    EXPECT_EQ(
        "[{\"number\":1,\"answer\":\"allow\",\"label\":\"Allow\"},"
        "{\"number\":2,\"answer\":\"deny\",\"label\":\"Deny\"},"
        "{\"number\":3,\"answer\":\"close\",\"label\":\"Close\"}]",
        member(shown, "buttons"));
    EXPECT_EQ("30000", member(shown, "hideTimeoutMs"));
}

TEST_F(AdminServerTest, AnswersNeedAShowingPopupAndAKnownNameAndArriveOnTheMainLoop) {
    startServer();
    for (const char* answer : {"allow", "deny", "close", "dismiss"}) {
        const HttpResponse refused = request("POST", std::string("/api/notification/") + answer);
        EXPECT_EQ(409, refused.status) << answer;
        EXPECT_NE("<missing>", member(refused.body, "error"));
    }
    PopupEvents popup;
    ASSERT_EQ(NOTIFICATION_ERROR_NONE, postPopup(popup));
    EXPECT_EQ(404, request("POST", "/api/notification/maybe").status);
    EXPECT_EQ(405, request("GET", "/api/notification/allow").status);
    EXPECT_EQ(404, request("GET", "/api/nothing").status);
    EXPECT_EQ(400, request("POST", "/api/notification/dismiss", "{broken").status);
    EXPECT_NE("null", member(state(), "notification")) << "a refused request answered";

    const HttpResponse answered = request("POST", "/api/notification/dismiss");
    EXPECT_EQ(200, answered.status);
    EXPECT_EQ("100", member(answered.body, "event"));
    // Delivered on the main loop, which the test thread has not run yet, not the server thread.
    EXPECT_TRUE(popup.events().empty());
    EXPECT_EQ("null", member(state(), "notification"));
    ASSERT_TRUE(pumpMainLoopUntil([&] { return !popup.events().empty(); }));
    drainMainLoop();  // once
    EXPECT_EQ(std::vector<int>{NOTIFICATION_EVENT_HIDDEN_BY_USER}, popup.events());
    EXPECT_TRUE(popup.allOnCreatingThread());
}

TEST_F(AdminServerTest, PutSettingStoresItAndRunsTheChangeCallbackOnTheMainLoop) {
    startServer();
    ChangeCounter name;
    ChangeCounter ipRemote;
    system_settings_set_changed_cb(SYSTEM_SETTINGS_KEY_DEVICE_NAME, &ChangeCounter::onChanged,
                                   &name);
    system_settings_set_changed_cb(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, &ChangeCounter::onChanged,
                                   &ipRemote);

    const HttpResponse renamed = request("PUT", "/api/settings/deviceName", "\"Kitchen\"");
    EXPECT_EQ(200, renamed.status);
    EXPECT_EQ("\"Kitchen\"", member(renamed.body, "deviceName"));
    EXPECT_EQ(200, request("PUT", "/api/settings/ipRemoteSupport", " 0\n").status);
    EXPECT_EQ(0, name.calls) << "callback ran on the server thread";
    ASSERT_TRUE(pumpMainLoopUntil([&] { return name.calls == 1 && ipRemote.calls == 1; }));

    EXPECT_EQ("0", member(member(state(), "settings"), "ipRemoteSupport"));
}

TEST_F(AdminServerTest, BadSettingRequestsAre400AndChangeNothing) {
    startServer();
    ChangeCounter calls;
    for (system_settings_key_e key :
         {SYSTEM_SETTINGS_KEY_DEVICE_NAME, SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT,
          SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE, SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY}) {
        system_settings_set_changed_cb(key, &ChangeCounter::onChanged, &calls);
    }
    const std::string before = settingsFile();
    const struct {
        const char* setting;
        std::string body;
    } kBad[] = {{"deviceName", "7"},
                {"deviceName", "\"\""},
                {"deviceName", ""},
                {"deviceName", "\"Kit"},
                {"deviceName", "\"Kit\\u0001chen\""},
                {"deviceName", "\"Kitchen\\u001f\""},
                {"deviceName", "\"Kit\\u0000chen\""},
                {"deviceName", "\"" + std::string(65, 'n') + "\""},
                {"language", "\"en_US\\u007f\""},
                {"country", "\"" + std::string(33, 'c') + "\""},
                {"language", "{\"v\":\"x\"}"},
                {"ipRemoteSupport", "\"1\""},
                {"ipRemoteSupport", "1.5"},
                {"ipRemoteSupport", "4294967296"},
                {"ipRemoteSupport", "0 0"},
                {"volume", "10"}};
    for (const auto& bad : kBad) {
        const HttpResponse refused =
            request("PUT", std::string("/api/settings/") + bad.setting, bad.body);
        EXPECT_EQ(400, refused.status) << bad.setting << " " << bad.body;
        EXPECT_NE("<missing>", member(refused.body, "error")) << bad.setting << " " << bad.body;
    }
    EXPECT_EQ("\"deviceName must not contain control characters (U+0000-U+001F, U+007F)\"",
              member(request("PUT", "/api/settings/deviceName", "\"a\\u0001\"").body, "error"));
    pumpMainLoopUntil([] { return false; }, 200);
    EXPECT_EQ(before, settingsFile());
    EXPECT_EQ(0, calls.calls);
    // The longest names are taken.
    EXPECT_EQ(
        200, request("PUT", "/api/settings/deviceName", "\"" + std::string(64, 'n') + "\"").status);
}

TEST_F(AdminServerTest, RequestLogKeepsTheLatestHundredInTheState) {
    request_log_entry_s entry = {};
    entry.client = "02:00:00:00:00:01";
    entry.method = "directVolumeControl";
    entry.kind = REQUEST_LOG_KIND_WRITE;
    entry.http_status = 200;
    startServer();
    EXPECT_EQ("[]", member(state(), "requests"));
    // An answer cut inside a two-byte character keeps the text valid.
    const std::string answer = std::string(REQUEST_LOG_MAX_ANSWER - 1, 'a') + "\u00e9tat";
    entry.answer = answer.c_str();
    for (unsigned int i = 1; i <= REQUEST_LOG_CAPACITY + 5; ++i) {
        entry.duration_ms = i;
        ASSERT_EQ(REQUEST_LOG_ERROR_NONE, request_log_add(&entry));
    }
    JsonNodePtr requests = parse(member(state(), "requests"));
    ASSERT_TRUE(requests != nullptr && JSON_NODE_HOLDS_ARRAY(requests.get()));
    JsonArray* list = json_node_get_array(requests.get());
    ASSERT_EQ(static_cast<guint>(REQUEST_LOG_CAPACITY), json_array_get_length(list));
    JsonObject* oldest = json_array_get_object_element(list, 0);
    EXPECT_EQ(6, json_object_get_int_member(oldest, "seq"));
    EXPECT_EQ(6, json_object_get_int_member(oldest, "ms"));
    EXPECT_EQ(std::string(REQUEST_LOG_MAX_ANSWER - 1, 'a') + "\u2026",
              json_object_get_string_member(oldest, "answer"));

    // The log goes with its server: a restarted platform starts an empty one.
    restart();
    m_port = ipc_platform::adminPort();
    EXPECT_EQ("[]", member(state(), "requests"));
}

// The page fetches the lines at its level (tests/web); here the filter's edge and the escaping.
TEST_F(AdminServerTest, LogRouteAnswersTheRecentLinesAtOrAboveTheLevel) {
    startServer();
    const std::string marker = "route-" + std::to_string(getpid());
    dlog_print(DLOG_INFO, "T", "%s info", marker.c_str());
    dlog_print(DLOG_WARN, "T", "%s warn \"quoted\"", marker.c_str());
    dlog_flush();
    const std::string warn = request("GET", "/api/log?level=warn").body;
    EXPECT_EQ(std::string::npos, warn.find(marker + " info")) << warn;
    EXPECT_NE(std::string::npos,
              warn.find(R"("level":"warn","tag":"T","text":")" + marker + R"( warn \"quoted\""})"))
        << warn;
    const HttpResponse unknown = request("GET", "/api/log?level=verbose");
    EXPECT_EQ(400, unknown.status);
    EXPECT_EQ("\"unknown level 'verbose' (debug, info, warn or error)\"",
              member(unknown.body, "error"));
}

}  // namespace
}  // namespace platform_test
