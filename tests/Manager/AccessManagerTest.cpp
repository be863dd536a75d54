// The access manager's approval flows over the recording notification stand-in and the main loop.
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <glib.h>
#include <gtest/gtest.h>

#include "JsonValue.h"
#include "Manager/AccessManager.h"
#include "Manager/AuthListFile.h"
#include "Manager/FakeNotification.h"
#include "SecurityMode.h"
#include "notification.h"
#include "support/HttpClient.h"
#include "support/PlatformTest.h"
#include "dlog.h"

using common::json::JsonValue;

namespace {

const char* const kMacA = "aa:bb:cc:dd:ee:01";
const char* const kMacB = "aa:bb:cc:dd:ee:02";
// Long enough never to fire unless a test waits for it.
const unsigned int kNeverMs = 600000;

FakeNotifications& popups() {
    return FakeNotifications::instance();
}

class AccessManagerTest : public testsupport::PlatformTest {
protected:
    void SetUp() override {
        popups().reset();
        startPlatform("\"product.tv_year\": 23");
    }

    void TearDown() override {
        if (m_manager != nullptr) {
            m_manager->destroy();
            m_manager.reset();
        }
        PlatformTest::TearDown();
    }

    AccessManager& manager(unsigned int releaseTimeoutMs = kNeverMs) {
        m_manager = std::make_unique<AccessManager>(releaseTimeoutMs);
        m_manager->setNotifyCallback([this](const std::string& result) {
            const size_t posted = popups().posted().size();
            std::lock_guard<std::mutex> lock(m_mutex);
            m_outcomes.push_back(result);
            m_postedAtOutcome.push_back(posted);
            return true;
        });
        m_manager->create();
        return *m_manager;
    }

    std::vector<std::string> outcomes() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_outcomes;
    }

    // Asks for a token for the client and answers the pop-up; the last outcome.
    std::string ask(const char* macAddr, int event) {
        m_manager->issueAccessToken(macAddr);
        popups().answer(event);
        return outcomes().empty() ? "" : outcomes().back();
    }

    std::string authFile() const { return m_dir.file("authlist/authlist.dat"); }

    // The KPI event descriptions written so far, in order.
    std::vector<std::string> kpiDescriptions() const {
        std::vector<std::string> descriptions;
        dlog_flush();  // the log's thread writes the events
        for (const std::string& line : testsupport::readLines(m_dir.file("kpi.log"))) {
            descriptions.push_back(JsonValue::Create(line)["description"].asString());
        }
        return descriptions;
    }

    std::unique_ptr<AccessManager> m_manager;
    std::mutex m_mutex;  // protects the two below (delivered on the server or main-loop thread)
    std::vector<std::string> m_outcomes;
    std::vector<size_t> m_postedAtOutcome;  // how many pop-ups had been posted at each outcome
};

TEST_F(AccessManagerTest, PopUpAsksWithTitleQuestionAndThreeButtonsAboutTheTvOrWall) {
    ASSERT_TRUE(manager().issueAccessToken(kMacA));
    // No catalogue in the resource folder: the message ids stand for their texts.
    PostedPopup popup = popups().posted().back();
    EXPECT_EQ((std::map<int, std::string>{
                  {NOTIFICATION_TEXT_TYPE_TITLE, "TV_SID_SYSTEM_IP_REMOTE"},
                  {NOTIFICATION_TEXT_TYPE_CONTENT, "TV_SID_PERMISSION_REQUIRED_CONNECT_DEVICE_TV"},
                  {NOTIFICATION_TEXT_TYPE_BUTTON_1, "SID_ALLOW"},
                  {NOTIFICATION_TEXT_TYPE_BUTTON_2, "SID_DENY"},
                  {NOTIFICATION_TEXT_TYPE_BUTTON_3, "SID_CLOSE"},
              }),
              popup.texts);
    EXPECT_EQ((std::vector<int>{1, 2, 3}), popup.buttons);
    EXPECT_EQ(30, popup.hideTimeoutSeconds);

    // A wall display asks about the display.
    m_manager->destroy();
    ipc_platform::shutdown();
    startPlatform("\"tessera_support\": true");
    manager().issueAccessToken(kMacA);
    EXPECT_EQ("WALL_SID_PERMISSION_REQUIRED_CONNECT_DEVICE_TV",
              popups().posted().back().texts[NOTIFICATION_TEXT_TYPE_CONTENT]);
}

// The token's form and that it is kept in the file are proved end to end (PairingEndToEndTest).
TEST_F(AccessManagerTest, AllowReplacesTheClientsRecordWithAnAuthorisedTokenAndIsCounted) {
    AccessManager& access = manager();
    access.assignLowerAccessClass(kMacA);
    access.assignLowerAccessClass(kMacB);
    const std::string token = ask(kMacA, NOTIFICATION_EVENT_BUTTON_1);
    EXPECT_TRUE(access.isRegisteredInAuthGroup(token));
    EXPECT_FALSE(access.isRegisteredInAuthGroup(token.substr(1)));
    const std::vector<AuthRecord> list = access.authList();
    ASSERT_EQ(2u, list.size());
    EXPECT_EQ(kMacA + std::string(" ") + token, list[0].macAddr + " " + list[0].accessToken);
    EXPECT_EQ(AuthRecord::AUTHORISED, list[0].accessClass);
    EXPECT_EQ(AuthRecord::DENIED_ONCE, list[1].accessClass);
    // Each lower class is counted as a Deny.
    EXPECT_EQ(
        (std::vector<std::string>{"{svn=ipcontrol;result=Deny}", "{svn=ipcontrol;result=Deny}",
                                  "{svn=ipcontrol;result=Allow}"}),
        kpiDescriptions());
}

TEST_F(AccessManagerTest, ClientDeniedTwiceJoinsTheDeniedGroupWithoutRewritingTheFile) {
    AccessManager& access = manager();
    for (int deny = 1; deny <= 3; ++deny) {
        ASSERT_TRUE(access.issueAccessToken(kMacA));
        popups().answer(NOTIFICATION_EVENT_BUTTON_2);
        EXPECT_EQ(deny >= 2, access.isRegisteredInDeniedGroup(kMacA)) << "after deny " << deny;
    }
    EXPECT_EQ((std::vector<std::string>{"denied", "denied", "denied"}), outcomes());
    ASSERT_EQ(1u, access.authList().size());
    EXPECT_EQ(AuthRecord::DENIED, access.authList()[0].accessClass);
    // The never-allowed client holds the empty token.
    EXPECT_TRUE(access.isRegisteredInAuthGroup(""));
    EXPECT_FALSE(std::filesystem::exists(authFile()));
    // Each Deny is counted twice: the Deny itself, then the delivery.
    std::vector<std::string> kpi = kpiDescriptions();
    ASSERT_EQ(6u, kpi.size());
    EXPECT_EQ("{svn=ipcontrol;result=Deny}", kpi[0]);
    EXPECT_EQ("{svn=ipcontrol;result=Allow}", kpi[1]);
}

// The same flows on a platform started with --security hardened.
class HardenedAccessManagerTest : public AccessManagerTest {
protected:
    void SetUp() override {
        popups().reset();
        startPlatform("\"product.tv_year\": 23", -1, true);
    }
};

// The empty token of a denied client is refused end to end (PairingEndToEndTest).
TEST_F(HardenedAccessManagerTest, MalformedTokensNeverMatchAndTokensOfOneSecondDiffer) {
    testsupport::writeFile(authFile(), R"([{"AccessToken":"abc","MacAddr":"aa:bb:cc:dd:ee:09",)"
                                       R"("AccessClass":0}])");
    AccessManager& access = manager();
    EXPECT_FALSE(access.isRegisteredInAuthGroup("abc"));
    const std::string first = ask(kMacA, NOTIFICATION_EVENT_BUTTON_1);
    const std::string second = ask(kMacB, NOTIFICATION_EVENT_BUTTON_1);
    EXPECT_NE(first, second);
    EXPECT_TRUE(access.isRegisteredInAuthGroup(first) && access.isRegisteredInAuthGroup(second));
}

TEST_F(HardenedAccessManagerTest, RequestAndAnswerTextsKeepOnlyFourCharactersOfEachToken) {
    manager();
    const std::pair<std::string, std::string> cases[] = {
        {R"({"params":{"AccessToken":"PKAT9WYHIiAem"},"id":1})",
         R"({"params":{"AccessToken":"PKAT…"},"id":1})"},
        {R"({"AccessToken" : "abcdefg", "x":{"AccessToken":"hijklmn"}})",
         R"({"AccessToken" : "abcd…", "x":{"AccessToken":"hijk…"}})"},
        // An escape is never cut in two; a short, a missing or an unterminated value stays.
        {R"({"AccessToken":"ab\"cdefgh"})", R"({"AccessToken":"ab…"})"},
        {R"({"AccessToken":"abc","AccessToken":7,"AccessToken")",
         R"({"AccessToken":"abc","AccessToken":7,"AccessToken")"},
        {R"({"AccessToken":"abcdefgh)", R"({"AccessToken":"abcd…)"},
    };
    for (const auto& [text, shown] : cases) {
        EXPECT_STREQ(shown.c_str(), SecurityMode::json(text).c_str()) << text;
    }
}

// Close and the hide timeout deliver "timeout"; a pop-up hidden by someone else delivers nothing.
TEST_F(AccessManagerTest, PopUpEndsWithItsFirstEventAndDeliversAtMostTimeout) {
    const std::pair<int, bool> cases[] = {{NOTIFICATION_EVENT_BUTTON_3, true},
                                          {NOTIFICATION_EVENT_HIDDEN_BY_TIMEOUT, true},
                                          {NOTIFICATION_EVENT_HIDDEN_BY_EXTERNAL, false}};
    AccessManager& access = manager();
    size_t delivered = 0;
    for (const auto& [event, deliversTimeout] : cases) {
        SCOPED_TRACE(event);
        ASSERT_TRUE(access.issueAccessToken(kMacA));  // the same client may ask again
        popups().answer(event);
        delivered += deliversTimeout ? 1 : 0;
        EXPECT_EQ(std::vector<std::string>(delivered, "timeout"), outcomes());
        // Later events of that pop-up are ignored.
        popups().answer(NOTIFICATION_EVENT_BUTTON_1);
        EXPECT_EQ(delivered, outcomes().size());
    }
    EXPECT_TRUE(access.authList().empty());
}

// The release timer delivers "timeout" once, for the pop-up it was armed for: an answered pop-up's
// timer is disarmed, and a late answer delivers nothing.
TEST_F(AccessManagerTest, ReleaseTimeoutDeliversTimeoutOnceForItsPopUpAndALateAllowNothing) {
    AccessManager& access = manager(20);
    access.issueAccessToken(kMacA);
    popups().answer(NOTIFICATION_EVENT_BUTTON_2);
    access.issueAccessToken(kMacB);
    ASSERT_TRUE(testsupport::pumpMainLoopUntil([&] { return outcomes().size() == 2; }));
    EXPECT_EQ((std::vector<std::string>{"denied", "timeout"}), outcomes());

    popups().answer(NOTIFICATION_EVENT_BUTTON_1);
    EXPECT_EQ(2u, outcomes().size());
    EXPECT_EQ(1u, access.authList().size());  // the Deny's record only
    EXPECT_TRUE(access.issueAccessToken(kMacB));
}

// The refused repeat leaves the first pop-up up: the other client's request ends it.
TEST_F(AccessManagerTest, SameClientAgainIsRefusedAndAnotherClientEndsThePopUpWithTimeout) {
    AccessManager& access = manager();
    ASSERT_TRUE(access.issueAccessToken(kMacA));
    EXPECT_FALSE(access.issueAccessToken(kMacA));
    EXPECT_EQ(1u, popups().posted().size());
    // The first outcome reaches the receiver inside the second request, before its pop-up.
    ASSERT_TRUE(access.issueAccessToken(kMacB));
    EXPECT_EQ((std::vector<std::string>{"timeout"}), outcomes());
    EXPECT_EQ(std::vector<size_t>{1}, m_postedAtOutcome);
    EXPECT_EQ(2u, popups().posted().size());

    popups().answer(NOTIFICATION_EVENT_BUTTON_1);
    ASSERT_EQ(1u, access.authList().size());
    EXPECT_EQ(kMacB, access.authList()[0].macAddr);
}

TEST_F(AccessManagerTest, PopUpErasedDestroyedOrOutlivingItsManagerAnswersNothing) {
    AccessManager& access = manager();
    access.issueAccessToken(kMacA);
    access.erasePopup();
    popups().answer(NOTIFICATION_EVENT_BUTTON_1);

    access.issueAccessToken(kMacB);
    access.destroy();
    popups().answer(NOTIFICATION_EVENT_BUTTON_1);
    EXPECT_TRUE(access.authList().empty());

    manager().issueAccessToken(kMacA);
    m_manager.reset();
    EXPECT_TRUE(popups().answer(NOTIFICATION_EVENT_HIDDEN_BY_TIMEOUT));
    EXPECT_TRUE(outcomes().empty());
}

TEST_F(AccessManagerTest, PopUpThatCannotBeShownLeavesTheClientFreeToAskAgain) {
    AccessManager& access = manager();
    for (std::atomic<bool> FakeNotifications::*fail :
         {&FakeNotifications::failCreate, &FakeNotifications::failTag,
          &FakeNotifications::failPost}) {
        popups().*fail = true;
        EXPECT_TRUE(access.issueAccessToken(kMacA));
        popups().*fail = false;
    }
    EXPECT_TRUE(popups().posted().empty());
    EXPECT_TRUE(outcomes().empty());
}

// The TV screen's revoke: the client's token is refused at once, other clients keep theirs; the
// reset forgets them all.
TEST_F(AccessManagerTest, RevokeForgetsOneClientAndResetAllInMemoryAndInTheFile) {
    AccessManager& access = manager();
    ask(kMacA, NOTIFICATION_EVENT_BUTTON_1);
    const std::string tokenB = ask(kMacB, NOTIFICATION_EVENT_BUTTON_1);
    EXPECT_EQ(1, access.revokeClient(kMacA));
    EXPECT_EQ(0, access.revokeClient(kMacA));
    ASSERT_EQ(1u, access.authList().size());
    EXPECT_EQ(kMacB, access.authList()[0].macAddr);
    EXPECT_EQ(AuthListFile::toJson(access.authList()), testsupport::readFile(authFile()));

    access.resetAuthGroupData();
    EXPECT_FALSE(access.isRegisteredInAuthGroup(tokenB));
    EXPECT_EQ("null", testsupport::readFile(authFile()));
}

// A TV whose file is still in the legacy form lists its clients on the TV screen page, tokens cut
// short; the page follows every change of the list, from any thread, and loses it when the
// service stops.
TEST_F(AccessManagerTest, ScreenListsTheClientsOfALegacyFileAndFollowsTheList) {
    ipc_platform::shutdown();
    ipc_platform::Options options;
    options.dataDir = m_dir.path();
    options.resourceDir = m_dir.path();
    options.profile = m_dir.file("profile.json");
    options.adminServer = true;
    options.adminPort = 0;
    std::string error;
    ASSERT_TRUE(ipc_platform::initialize(options, error)) << error;
    std::filesystem::create_directories(m_dir.file("authlist"));
    testsupport::writeFile(authFile(), testsupport::readFile(std::string(IPC_TEST_DATA_DIR) +
                                                             "/authlist-legacy-three-records.dat"));
    auto screen = [](const std::string& method, const std::string& path) {
        testsupport::HttpClient client;
        EXPECT_TRUE(client.connect(ipc_platform::adminPort()));
        client.send(method + " " + path +
                    " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n");
        return client.read().value_or(testsupport::HttpResponse()).body;
    };
    const std::string first =
        R"({"MacAddr":"aa:bb:cc:dd:ee:03","AccessClass":2,"AccessToken":"c47WQA…"})";
    const std::string second =
        R"({"MacAddr":"aa:bb:cc:dd:ee:02","AccessClass":1,"AccessToken":"7aJZqh…"})";
    const std::string third =
        R"({"MacAddr":"aa:bb:cc:dd:ee:01","AccessClass":0,"AccessToken":"Ky9Pf3…"})";
    AccessManager& access = manager();
    EXPECT_TRUE(
        access.isRegisteredInAuthGroup("Ky9Pf34qY6Nb3wWD25RQ4F5ZR3qa7yEeeby3abP3E2Zs8IQ9Y"));
    std::string state = screen("GET", "/api/state");
    EXPECT_NE(std::string::npos,
              state.find(R"("clients":[)" + first + "," + second + "," + third + "]"))
        << state;

    // The page's revoke runs on the main loop under the platform's lock while a server thread
    // keeps changing the list, which is handed over under the manager's lock.
    std::atomic<bool> revoked{false};
    std::thread server([&] {
        while (!revoked) {
            access.assignLowerAccessClass("aa:bb:cc:dd:ee:09");
            access.revokeClient("aa:bb:cc:dd:ee:09");
        }
    });
    std::thread page([&] {
        EXPECT_EQ(R"({"revoked":1})", screen("DELETE", "/api/clients/aa:bb:cc:dd:ee:02"));
        revoked = true;
    });
    EXPECT_TRUE(testsupport::pumpMainLoopUntil([&] { return revoked.load(); }));
    page.join();
    server.join();
    state = screen("GET", "/api/state");
    EXPECT_NE(std::string::npos, state.find(R"("clients":[)" + first + "," + third + "]")) << state;
    access.destroy();
    state = screen("GET", "/api/state");
    EXPECT_NE(std::string::npos, state.find(R"("clients":[])")) << state;
}

// The token lookup answers what a walk of the list from the front answers (the first record
// with the token, whatever its class), through every kind of change to the list.
TEST_F(AccessManagerTest, TokenLookupFollowsEveryChangeOfTheList) {
    AccessManager& access = manager();
    const std::vector<std::string> macs = {kMacA, kMacB, "aa:bb:cc:dd:ee:03", "aa:bb:cc:dd:ee:04"};
    // Few tokens, so that records share them; "" is the token of a client never allowed.
    std::set<std::string> tokens = {"", "t1", "t2", "t3"};
    std::mt19937 random(1234);
    auto pick = [&random](size_t count) {
        return std::uniform_int_distribution<size_t>(0, count - 1)(random);
    };
    for (int step = 0; step < 300; ++step) {
        const std::string& mac = macs[pick(macs.size())];
        switch (pick(7)) {
            case 0: {  // records loaded from a file
                JsonValue records(common::json::JsonType::arrayValue);
                for (size_t i = 0; i < 1 + pick(3); ++i) {
                    JsonValue record(common::json::JsonType::objectValue);
                    record["AccessToken"] =
                        *std::next(tokens.begin(), static_cast<std::ptrdiff_t>(pick(4)));
                    record["MacAddr"] = macs[pick(macs.size())];
                    record["AccessClass"] = static_cast<int>(pick(3));
                    records.append(record);
                }
                access.syncAuthListWithFileInternal(records.toString(false));
                break;
            }
            case 1:
                tokens.insert(ask(mac.c_str(), NOTIFICATION_EVENT_BUTTON_1));
                break;
            case 2:
                ask(mac.c_str(), NOTIFICATION_EVENT_BUTTON_2);
                break;
            case 3:
                access.revokeClient(mac);
                break;
            case 4:  // a restart reads the file again
                access.destroy();
                access.create();
                break;
            case 5:
                if (pick(4) == 0) {
                    access.resetAuthGroupData();
                }
                break;
            default:
                access.assignLowerAccessClass(mac);
                break;
        }
        const std::vector<AuthRecord> list = access.authList();
        for (const std::string& token : tokens) {
            std::optional<AuthRecord> walked;
            for (const AuthRecord& record : list) {
                if (record.accessToken == token) {
                    walked = record;
                    break;
                }
            }
            ASSERT_EQ(walked, access.firstRecordWithToken(token))
                << "token '" << token << "' after step " << step;
            ASSERT_EQ(walked.has_value(), access.isRegisteredInAuthGroup(token));
        }
    }
}

// Requests on a server thread race the viewer's answers and the release timer on the main loop:
// every pop-up that was put up ends with exactly one outcome.
TEST_F(AccessManagerTest, RacingRequestsAndAnswersDeliverOneOutcomePerPopUp) {
    AccessManager& access = manager(3);
    const char* const macs[] = {kMacA, kMacB, "aa:bb:cc:dd:ee:03"};
    std::atomic<bool> done{false};
    std::thread server([&] {
        for (int i = 0; i < 200; ++i) {
            access.issueAccessToken(macs[i % 3]);
            access.isRegisteredInAuthGroup("x");
            access.isRegisteredInDeniedGroup(macs[i % 3]);
        }
        done = true;
    });
    const int answers[] = {NOTIFICATION_EVENT_BUTTON_1, NOTIFICATION_EVENT_BUTTON_2,
                           NOTIFICATION_EVENT_BUTTON_3};
    for (int i = 0; !done; ++i) {
        g_main_context_iteration(nullptr, FALSE);
        popups().answer(answers[i % 3]);
    }
    server.join();
    popups().answer(NOTIFICATION_EVENT_BUTTON_3);
    EXPECT_EQ(popups().posted().size(), outcomes().size());
}

}  // namespace
