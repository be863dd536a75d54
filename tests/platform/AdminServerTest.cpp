// Tests of the admin server over real sockets: the state, answering the pop-up, settings, the
// event stream, the page's files, and what it refuses.
#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>
#include <json-glib/json-glib.h>

#include "AdminJson.h"
#include "AdminServer.h"
#include "EventStream.h"
#include "NotificationCenter.h"
#include "paired_clients.h"
#include "request_log.h"
#include "PlatformObjects.h"
#include "PlatformTestSupport.h"
#include "support/HttpClient.h"
#include "dlog.h"
#include "system_settings.h"

namespace platform_test {
namespace {

using ipc_platform::JsonNodePtr;
using testsupport::HttpClient;
using testsupport::HttpResponse;

constexpr char kSecret[] = "top secret";

JsonNodePtr parse(const std::string& text) {
    std::string error;
    return ipc_platform::parseJsonText(text, error);
}

// The member's compact JSON text; "<missing>" when the text is not an object with it.
std::string member(const std::string& objectText, const char* name) {
    JsonNodePtr node = parse(objectText);
    if (node == nullptr || !JSON_NODE_HOLDS_OBJECT(node.get()) ||
        !json_object_has_member(json_node_get_object(node.get()), name)) {
        return "<missing>";
    }
    return ipc_platform::jsonText(json_object_get_member(json_node_get_object(node.get()), name));
}

// Counts the change callbacks of one setting.
struct ChangeCounter {
    int calls = 0;
    static void onChanged(system_settings_key_e, void* self) {
        ++static_cast<ChangeCounter*>(self)->calls;
    }
};

class AdminServerTest : public PlatformTest {
protected:
    void SetUp() override {
        std::filesystem::create_directories(m_resources.file("web"));
        writeFile(m_resources.file("web/index.html"), "<!doctype html><title>screen</title>");
        writeFile(m_resources.file("web/app.js"), "'use strict';");
        writeFile(m_resources.file("secret.txt"), kSecret);
        std::filesystem::create_symlink("../secret.txt", m_resources.file("web/link.txt"));
        m_options.dataDir = m_dataDir.path();
        m_options.resourceDir = m_resources.path();
        m_options.profile = std::string(IPC_TEST_PROFILES_DIR) + "/tv-2023.json";
        m_options.adminServer = true;
        m_options.adminPort = 0;
    }

    void startServer() {
        std::string error;
        ASSERT_TRUE(ipc_platform::initialize(m_options, error)) << error;
        m_port = ipc_platform::adminPort();
        ASSERT_NE(0, m_port);
    }

    std::string hostHeader() const { return "Host: 127.0.0.1:" + std::to_string(m_port) + "\r\n"; }

    // One request on a fresh connection; status 0 when no response came.
    HttpResponse request(const std::string& method, const std::string& path,
                         const std::string& body = "", const std::string& headers = "") {
        HttpClient client;
        if (!client.connect(m_port) ||
            !client.send(method + " " + path + " HTTP/1.1\r\n" + hostHeader() + headers +
                         "Content-Length: " + std::to_string(body.size()) +
                         "\r\nConnection: close\r\n\r\n" + body)) {
            return HttpResponse();
        }
        return client.read().value_or(HttpResponse());
    }

    std::string state() { return request("GET", "/api/state").body; }
    std::string settingsFile() const { return readFile(m_dataDir.file("settings.ini")); }

    TempDir m_resources;
    unsigned short m_port = 0;
};

TEST_F(AdminServerTest, StateShowsSettingsThePopupAndClients) {
    startServer();
    const HttpResponse empty = request("GET", "/api/state");
    EXPECT_EQ(200, empty.status);
    EXPECT_EQ("application/json", empty.header("content-type"));
    EXPECT_EQ(
        "{\"ipRemoteSupport\":1,\"deviceName\":\"[TV] Living Room\",\"language\":\"en_US.UTF-8\","
        "\"country\":\"en_US.UTF-8\"}",
        member(empty.body, "settings"));
    EXPECT_EQ("null", member(empty.body, "notification"));
    EXPECT_EQ("[]", member(empty.body, "clients"));

    PopupEvents popup;
    ASSERT_EQ(NOTIFICATION_ERROR_NONE, postPopup(popup, "IP Remote"));
    const std::string shown = member(state(), "notification");
    EXPECT_EQ("\"IP Remote\"", member(shown, "title"));
    EXPECT_EQ("\"A device wants to connect.\"", member(shown, "content"));
    EXPECT_EQ(
        "[{\"number\":1,\"answer\":\"allow\",\"label\":\"Allow\"},"
        "{\"number\":2,\"answer\":\"deny\",\"label\":\"Deny\"},"
        "{\"number\":3,\"answer\":\"close\",\"label\":\"Close\"}]",
        member(shown, "buttons"));
    EXPECT_EQ("30000", member(shown, "hideTimeoutMs"));
}

// The service's list as handed over by its owner, tokens cut at a character boundary.
TEST_F(AdminServerTest, ClientsShowTheOwnersListWithShortenedTokens) {
    startServer();
    int owner = 0;
    int other = 0;
    const paired_clients_client_s clients[] = {
        {"aa:bb:cc:dd:ee:ff", 0, "AbCdEf0123456789"},
        {"11:22:33:44:55:66", 2, ""},
        {"11:22:33:44:55:77", 1, "\u00e9t\u00e9\u00e9t\u00e9\u00e9t\u00e9"},
        {"11:22:33:44:55:88", 0, "abc"}};
    EXPECT_EQ(PAIRED_CLIENTS_ERROR_NOT_OWNER, paired_clients_set_list(clients, 4, &owner));
    paired_clients_set_handlers([](const char*, void*) { return 0; }, [](void*) {}, &owner);
    EXPECT_EQ(PAIRED_CLIENTS_ERROR_INVALID_PARAMETER, paired_clients_set_list(nullptr, 1, &owner));
    EXPECT_EQ(PAIRED_CLIENTS_ERROR_INVALID_PARAMETER, paired_clients_set_list(clients, -1, &owner));
    ASSERT_EQ(PAIRED_CLIENTS_ERROR_NONE, paired_clients_set_list(clients, 4, &owner));
    const std::string shown =
        "[{\"MacAddr\":\"aa:bb:cc:dd:ee:ff\",\"AccessClass\":0,\"AccessToken\":\"AbCdEf\u2026\"},"
        "{\"MacAddr\":\"11:22:33:44:55:66\",\"AccessClass\":2,\"AccessToken\":\"\"},"
        "{\"MacAddr\":\"11:22:33:44:55:77\",\"AccessClass\":1,"
        "\"AccessToken\":\"\u00e9t\u00e9\u00e9t\u00e9\u2026\"},"
        "{\"MacAddr\":\"11:22:33:44:55:88\",\"AccessClass\":0,\"AccessToken\":\"abc\u2026\"}]";
    EXPECT_EQ(shown, member(state(), "clients"));
    // Only the owner changes the list, and the list goes with the owner's handlers.
    EXPECT_EQ(PAIRED_CLIENTS_ERROR_NOT_OWNER, paired_clients_set_list(clients, 1, &other));
    paired_clients_unset_handlers(&other);
    EXPECT_EQ(shown, member(state(), "clients"));
    paired_clients_unset_handlers(&owner);
    EXPECT_EQ("[]", member(state(), "clients"));
}

TEST_F(AdminServerTest, AnswerIsDeliveredOnTheMainLoopNotTheServerThread) {
    startServer();
    PopupEvents popup;
    ASSERT_EQ(NOTIFICATION_ERROR_NONE, postPopup(popup));
    const HttpResponse answered = request("POST", "/api/notification/allow");
    EXPECT_EQ(200, answered.status);
    EXPECT_EQ("0", member(answered.body, "event"));
    // The test thread has not run the main loop yet, so nothing can have been delivered.
    EXPECT_TRUE(popup.events().empty());
    EXPECT_EQ("null", member(state(), "notification"));
    ASSERT_TRUE(pumpMainLoopUntil([&] { return !popup.events().empty(); }));
    EXPECT_EQ(std::vector<int>{NOTIFICATION_EVENT_BUTTON_1}, popup.events());
    EXPECT_TRUE(popup.allOnCreatingThread());
}

TEST_F(AdminServerTest, AnswersNeedAShowingPopupAndAKnownName) {
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

    EXPECT_EQ(200, request("POST", "/api/notification/dismiss").status);
    ASSERT_TRUE(pumpMainLoopUntil([&] { return !popup.events().empty(); }));
    EXPECT_EQ(std::vector<int>{NOTIFICATION_EVENT_HIDDEN_BY_USER}, popup.events());
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

    EXPECT_NE(std::string::npos, settingsFile().find("deviceName=Kitchen"));
    int enabled = -1;
    system_settings_get_value_int(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, &enabled);
    EXPECT_EQ(0, enabled);
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

TEST_F(AdminServerTest, EventStreamSendsTheStateAtOnceAndAfterEachChange) {
    startServer();
    HttpClient stream;
    ASSERT_TRUE(stream.connect(m_port));
    ASSERT_TRUE(stream.send("GET /api/events HTTP/1.1\r\n" + hostHeader() + "\r\n"));
    const std::optional<HttpResponse> head = stream.read();
    ASSERT_TRUE(head);
    EXPECT_EQ(200, head->status);
    EXPECT_EQ("text/event-stream", head->header("content-type"));
    const std::optional<std::string> first = stream.readUntil("\n\n");
    ASSERT_TRUE(first);
    EXPECT_NE(std::string::npos, first->find("event: state\ndata: {\"settings\":"));

    // Reads events while the main loop runs, until one holds the text.
    auto awaitEvent = [&](const std::string& text) {
        std::string seen;
        return pumpMainLoopUntil([&] {
            if (auto event = stream.readUntil("\n\n", std::chrono::milliseconds(10))) {
                seen += *event;
            }
            return seen.find(text) != std::string::npos;
        });
    };
    ASSERT_EQ(200, request("PUT", "/api/settings/deviceName", "\"Kitchen\"").status);
    EXPECT_TRUE(awaitEvent("\"deviceName\":\"Kitchen\""));
    writeByRename(m_dataDir.file("settings.ini"),
                  "[settings]\nipRemoteSupport=1\ndeviceName=Hall\nlanguage=en_US.UTF-8\n"
                  "country=en_US.UTF-8\n");
    EXPECT_TRUE(awaitEvent("\"deviceName\":\"Hall\""));
    PopupEvents popup;
    ASSERT_EQ(NOTIFICATION_ERROR_NONE, postPopup(popup, "Pairing"));
    EXPECT_TRUE(awaitEvent("\"title\":\"Pairing\""));
}

// What the service reported last: the thread its handlers ran on, and the MAC addresses.
struct ServiceHandlers {
    std::mutex mutex;  // protects the members below
    std::vector<std::string> revoked;
    int resets = 0;
    std::vector<std::thread::id> threads;

    static int revoke(const char* mac, void* self) {
        auto* handlers = static_cast<ServiceHandlers*>(self);
        std::lock_guard<std::mutex> lock(handlers->mutex);
        handlers->revoked.push_back(mac);
        handlers->threads.push_back(std::this_thread::get_id());
        return std::string(mac) == "02:00:00:00:00:01" ? 1 : 0;
    }
    static void reset(void* self) {
        auto* handlers = static_cast<ServiceHandlers*>(self);
        std::lock_guard<std::mutex> lock(handlers->mutex);
        ++handlers->resets;
        handlers->threads.push_back(std::this_thread::get_id());
    }
};

TEST_F(AdminServerTest, ClientRoutesWaitForTheServiceHandlersOnTheMainLoop) {
    startServer();
    // While the test thread pumps the main loop, as the daemon's main loop would.
    auto requestPumped = [&](const std::string& path) {
        HttpResponse response;
        std::atomic<bool> done{false};
        std::thread client([&] {
            response = request("DELETE", path);
            done = true;
        });
        EXPECT_TRUE(pumpMainLoopUntil([&] { return done.load(); }));
        client.join();
        return response;
    };
    EXPECT_EQ(503, requestPumped("/api/clients").status);
    ServiceHandlers handlers;
    ASSERT_EQ(
        PAIRED_CLIENTS_ERROR_NONE,
        paired_clients_set_handlers(ServiceHandlers::revoke, ServiceHandlers::reset, &handlers));
    const HttpResponse revoked = requestPumped("/api/clients/02%3A00:00:00:00:01");
    EXPECT_EQ(200, revoked.status);
    EXPECT_EQ("1", member(revoked.body, "revoked"));
    EXPECT_EQ(404, requestPumped("/api/clients/aa:bb:cc:dd:ee:ff").status);
    EXPECT_EQ(200, requestPumped("/api/clients").status);
    {
        std::lock_guard<std::mutex> lock(handlers.mutex);
        EXPECT_EQ((std::vector<std::string>{"02:00:00:00:00:01", "aa:bb:cc:dd:ee:ff"}),
                  handlers.revoked);
        EXPECT_EQ(1, handlers.resets);
        EXPECT_EQ(std::vector<std::thread::id>(3, std::this_thread::get_id()), handlers.threads);
    }
    // Another owner's unset leaves the handlers; the owner's own removes them.
    int other = 0;
    paired_clients_unset_handlers(&other);
    EXPECT_EQ(200, requestPumped("/api/clients").status);
    paired_clients_unset_handlers(&handlers);
    EXPECT_EQ(503, requestPumped("/api/clients").status);
}

TEST_F(AdminServerTest, RequestLogKeepsTheLatestHundredInTheState) {
    request_log_entry_s entry = {};
    entry.client = "02:00:00:00:00:01";
    entry.method = "directVolumeControl";
    entry.kind = REQUEST_LOG_KIND_WRITE;
    entry.http_status = 200;
    EXPECT_EQ(REQUEST_LOG_ERROR_NOT_READY, request_log_add(&entry));
    startServer();
    EXPECT_EQ(REQUEST_LOG_ERROR_INVALID_PARAMETER, request_log_add(nullptr));
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
    EXPECT_STREQ("write", json_object_get_string_member(oldest, "kind"));
    EXPECT_EQ(std::string(REQUEST_LOG_MAX_ANSWER - 1, 'a') + "\u2026",
              json_object_get_string_member(oldest, "answer"));

    // The log goes with its server: a restarted platform starts an empty one.
    restart();
    m_port = ipc_platform::adminPort();
    EXPECT_EQ("[]", member(state(), "requests"));
}

// The texts of the answer's lines that contain marker, each as "level tag text".
std::vector<std::string> loggedLines(const std::string& answer, const std::string& marker) {
    std::vector<std::string> texts;
    JsonNodePtr lines = parse(member(answer, "lines"));
    if (lines == nullptr || !JSON_NODE_HOLDS_ARRAY(lines.get())) {
        return {"<no lines>"};
    }
    JsonArray* list = json_node_get_array(lines.get());
    for (guint i = 0; i < json_array_get_length(list); ++i) {
        JsonObject* line = json_array_get_object_element(list, i);
        const std::string text = json_object_get_string_member(line, "text");
        if (text.find(marker) != std::string::npos) {
            texts.push_back(std::string(json_object_get_string_member(line, "level")) + " " +
                            json_object_get_string_member(line, "tag") + " " + text);
        }
    }
    return texts;
}

// The progress lines stay readable while the daemon logs at warn.
TEST_F(AdminServerTest, LogRouteAnswersTheRecentLinesAtOrAboveTheLevel) {
    startServer();
    const std::string marker = "route-" + std::to_string(getpid());
    dlog_set_min_priority(DLOG_WARN);
    dlog_print(DLOG_DEBUG, "T", "%s debug", marker.c_str());
    dlog_print(DLOG_INFO, "T", "%s info", marker.c_str());
    dlog_print(DLOG_WARN, "T", "%s warn \"quoted\"", marker.c_str());
    dlog_print(DLOG_ERROR, "T", "%s error", marker.c_str());
    dlog_set_min_priority(DLOG_INFO);
    dlog_flush();

    const HttpResponse all = request("GET", "/api/log");
    EXPECT_EQ(200, all.status);
    EXPECT_EQ((std::vector<std::string>{"info T " + marker + " info",
                                        "warn T " + marker + " warn \"quoted\"",
                                        "error T " + marker + " error"}),
              loggedLines(all.body, marker));
    EXPECT_EQ((std::vector<std::string>{"warn T " + marker + " warn \"quoted\"",
                                        "error T " + marker + " error"}),
              loggedLines(request("GET", "/api/log?level=warn").body, marker));
    EXPECT_EQ(std::vector<std::string>{"error T " + marker + " error"},
              loggedLines(request("GET", "/api/log?level=error").body, marker));
    const HttpResponse unknown = request("GET", "/api/log?level=verbose");
    EXPECT_EQ(400, unknown.status);
    EXPECT_EQ("\"unknown level 'verbose' (debug, info, warn or error)\"",
              member(unknown.body, "error"));
    // The state tells the page that there are new lines to fetch.
    EXPECT_LT(0, std::stoll(member(member(state(), "log"), "last")));
}

TEST_F(AdminServerTest, ListensOnIpv4LoopbackOnly) {
    startServer();
    auto connects = [&](const in_addr& address) {
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in target = {};
        target.sin_family = AF_INET;
        target.sin_port = htons(m_port);
        target.sin_addr = address;
        const bool connected =
            connect(fd, reinterpret_cast<sockaddr*>(&target), sizeof target) == 0;
        close(fd);
        return connected;
    };
    in_addr address = {};
    inet_pton(AF_INET, "127.0.0.1", &address);
    EXPECT_TRUE(connects(address));
    inet_pton(AF_INET, "127.0.0.2", &address);
    EXPECT_FALSE(connects(address));
    HttpClient v6;
    EXPECT_FALSE(v6.connect(m_port, AF_INET6));

    ifaddrs* interfaces = nullptr;
    ASSERT_EQ(0, getifaddrs(&interfaces));
    for (ifaddrs* i = interfaces; i != nullptr; i = i->ifa_next) {
        if (i->ifa_addr != nullptr && i->ifa_addr->sa_family == AF_INET) {
            const in_addr local = reinterpret_cast<sockaddr_in*>(i->ifa_addr)->sin_addr;
            if ((ntohl(local.s_addr) >> 24) != 127) {
                EXPECT_FALSE(connects(local)) << i->ifa_name;
            }
        }
    }
    freeifaddrs(interfaces);
}

TEST_F(AdminServerTest, ServesThePageAndNothingOutsideItsFolder) {
    startServer();
    const HttpResponse page = request("GET", "/");
    EXPECT_EQ(200, page.status);
    EXPECT_EQ("text/html; charset=utf-8", page.header("content-type"));
    EXPECT_EQ("<!doctype html><title>screen</title>", page.body);
    EXPECT_EQ("text/javascript; charset=utf-8", request("GET", "/app.js").header("content-type"));
    EXPECT_EQ(405, request("DELETE", "/app.js").status);

    for (const char* path :
         {"/../secret.txt", "/%2e%2e/secret.txt", "/..%2fsecret.txt", "/web/../../secret.txt",
          "//secret.txt", "/link.txt", "/missing.html", "/.", "/index.html/"}) {
        const HttpResponse refused = request("GET", path);
        EXPECT_NE(200, refused.status) << path;
        EXPECT_EQ(std::string::npos, refused.body.find(kSecret)) << path;
    }
}

TEST_F(AdminServerTest, RefusesOtherSitesAndHostNames) {
    startServer();
    PopupEvents popup;
    ASSERT_EQ(NOTIFICATION_ERROR_NONE, postPopup(popup));
    EXPECT_EQ(403,
              request("POST", "/api/notification/allow", "", "Origin: http://elsewhere.example\r\n")
                  .status);
    EXPECT_EQ(403, request("PUT", "/api/settings/deviceName", "\"x\"", "Origin: null\r\n").status);
    HttpClient rebound;
    ASSERT_TRUE(rebound.connect(m_port));
    rebound.send("GET /api/state HTTP/1.1\r\nHost: tv.elsewhere.example\r\n\r\n");
    EXPECT_EQ(403, rebound.read().value_or(HttpResponse()).status);
    EXPECT_NE("null", member(state(), "notification"));

    const std::string ownOrigin = "Origin: http://127.0.0.1:" + std::to_string(m_port) + "\r\n";
    EXPECT_EQ(200, request("POST", "/api/notification/deny", "", ownOrigin).status);
}

TEST_F(AdminServerTest, LogsItsAddressAndAPortInUseFailsInitializeInWords) {
    testsupport::LogCapture log;
    startServer();
    EXPECT_TRUE(log.contains(
        "TV screen and admin API on http://127.0.0.1:" + std::to_string(m_port) + "/"));
    ipc_platform::shutdown();

    // Another program listens on the port asked for.
    const int blocker = testsupport::holdLoopbackPort(m_options.adminPort, true);
    ASSERT_GE(blocker, 0);
    const std::string taken = std::to_string(m_options.adminPort);
    std::string error;
    EXPECT_FALSE(ipc_platform::initialize(m_options, error));
    EXPECT_EQ("port " + taken +
                  " is already in use by another program; stop it or start with --admin-port N",
              error);
    EXPECT_EQ(error, ipc_platform::fatalError());
    EXPECT_FALSE(ipc_platform::isInitialized());
    close(blocker);
}

// Changes arriving faster than the spacing are merged, the last one always sent.
TEST(EventStreamTest, ContinuousChangesAreSpacedOutAndTheLastIsSent) {
    ipc_platform::StateBroadcaster broadcaster;
    std::atomic<int> value{0};
    ipc_platform::EventStream stream(
        broadcaster, [&value] { return std::to_string(value.load()); }, std::chrono::seconds(10));
    auto nextEvent = [&stream] {
        std::string text;
        char buffer[64];
        while (text.find("\n\n") == std::string::npos) {
            const ssize_t count = stream.read(buffer, sizeof buffer);
            if (count < 0) {
                return std::string("<closed>");
            }
            text.append(buffer, static_cast<size_t>(count));
        }
        return text.substr(text.find("data: "));
    };
    EXPECT_EQ("data: 0\n\n", nextEvent());

    const auto start = std::chrono::steady_clock::now();
    std::thread writer([&] {
        for (int i = 1; i <= 100; ++i) {
            value = i;
            broadcaster.publish();
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
    int events = 0;
    while (nextEvent() != "data: 100\n\n") {
        ++events;
    }
    writer.join();
    // At most one event per spacing for as long as the changes went on (however long a busy
    // machine made that), where one per change would be 100.
    const auto took = std::chrono::steady_clock::now() - start;
    EXPECT_LE(events, took / ipc_platform::EventStream::kMinSpacing + 1);
    EXPECT_LT(events, 100);
}

}  // namespace
}  // namespace platform_test

// Local programs posing as several hosts hold half requests on every connection they can get:
// the oldest are cut so the TV screen still gets in.
TEST(AdminServerLimitsTest, HalfRequestsFromSeveralAddressesCannotLockOutTheScreen) {
    ipc_platform::AdminServer server(testing::TempDir(), {8, 4, std::chrono::seconds(60)});
    std::string error;
    ASSERT_TRUE(server.start(0, error)) << error;
    std::vector<std::unique_ptr<testsupport::HttpClient>> slow;
    // 20: the 12 cut may all still be closing, on threads of their own, when the screen comes,
    // and libmicrohttpd counts them against its own limit.
    for (int i = 0; i < 20; ++i) {
        slow.push_back(std::make_unique<testsupport::HttpClient>());
        ASSERT_TRUE(
            slow.back()->connectFrom("127.0.1." + std::to_string(1 + i % 6), server.port()));
        slow.back()->send("GET /api/state HTTP/1.1\r\nHost: 127.0.0.1\r\n");  // may be cut
    }
    // Each connection past the total cuts the oldest one, so once the first 12 are cut all 20
    // are in, and the screen's connection cannot be taken for an older one under load.
    for (size_t i = 0; i + 8 < slow.size(); ++i) {
        ASSERT_TRUE(slow[i]->waitClosed()) << i;
    }
    testsupport::HttpClient screen;
    ASSERT_TRUE(screen.connect(server.port()));
    ASSERT_TRUE(screen.send("GET /api/state HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"));
    std::optional<testsupport::HttpResponse> answer = screen.read();
    ASSERT_TRUE(answer);
    EXPECT_EQ(200, answer->status);
    server.stop();
}

// One local program floods from one address, faster than the screen's request is read: at the
// total it is refused rather than let in to push the screen's connection out.
TEST(AdminServerLimitsTest, AFloodingAddressCannotPushOutAnotherWaitingForItsRequest) {
    ipc_platform::AdminServer server(testing::TempDir(), {8, 32, std::chrono::seconds(60)});
    std::string error;
    ASSERT_TRUE(server.start(0, error)) << error;
    const std::string half = "GET /api/state HTTP/1.1\r\nHost: 127.0.0.1\r\n";
    std::vector<std::unique_ptr<testsupport::HttpClient>> slow;
    auto connectSlow = [&] {
        slow.push_back(std::make_unique<testsupport::HttpClient>());
        return slow.back()->connectFrom("127.0.1.1", server.port()) && slow.back()->send(half);
    };
    for (int i = 0; i < 8; ++i) {
        ASSERT_TRUE(connectSlow());
    }
    testsupport::HttpClient screen;
    ASSERT_TRUE(screen.connect(server.port()));
    ASSERT_TRUE(screen.send(half));
    ASSERT_TRUE(slow.front()->waitClosed());  // the screen took its place

    for (int i = 0; i < 16; ++i) {
        connectSlow();
        ASSERT_TRUE(slow.back()->waitClosed()) << i;
    }
    ASSERT_TRUE(screen.send("\r\n"));
    std::optional<testsupport::HttpResponse> answer = screen.read();
    ASSERT_TRUE(answer);
    EXPECT_EQ(200, answer->status);
    server.stop();
}
