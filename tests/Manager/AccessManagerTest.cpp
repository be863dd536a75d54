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
#include "Manager/FakeNotification.h"
#include "SecurityMode.h"
#include "notification.h"
#include "support/PlatformTest.h"
#include "dlog.h"

using common::json::JsonValue;

namespace {

const char* const kMacA = "aa:bb:cc:dd:ee:01";
const char* const kMacB = "aa:bb:cc:dd:ee:02";
const char* const kTokenAlphabet = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
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
            std::lock_guard<std::mutex> lock(m_mutex);
            m_outcomes.push_back(result);
            return true;
        });
        m_manager->create();
        return *m_manager;
    }

    std::vector<std::string> outcomes() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_outcomes;
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
    std::mutex m_mutex;  // protects m_outcomes (delivered on the server or the main-loop thread)
    std::vector<std::string> m_outcomes;
};

TEST_F(AccessManagerTest, PopUpAsksWithTitleQuestionAndThreeButtonsAboutTheTvOrWall) {
    ASSERT_TRUE(manager().issueAccessToken(kMacA));
    // No catalogue in the resource folder: the message ids stand for their texts.
    PostedPopup popup = popups().last();
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
    EXPECT_TRUE(outcomes().empty());

    // A wall display asks about the display.
    m_manager->destroy();
    ipc_platform::shutdown();
    startPlatform("\"tessera_support\": true");
    manager().issueAccessToken(kMacA);
    EXPECT_EQ("WALL_SID_PERMISSION_REQUIRED_CONNECT_DEVICE_TV",
              popups().last().texts[NOTIFICATION_TEXT_TYPE_CONTENT]);
}

TEST_F(AccessManagerTest, AllowIssuesTokenThatOpensTheAuthGroupAndIsSaved) {
    AccessManager& access = manager();
    access.issueAccessToken(kMacA);
    popups().answer(NOTIFICATION_EVENT_BUTTON_1);

    ASSERT_EQ(1u, outcomes().size());
    const std::string token = outcomes()[0];
    ASSERT_EQ(49u, token.size());
    EXPECT_EQ(std::string::npos, token.find_first_not_of(kTokenAlphabet));
    EXPECT_TRUE(access.isRegisteredInAuthGroup(token));
    EXPECT_FALSE(access.isRegisteredInAuthGroup(token.substr(1)));
    EXPECT_EQ(
        R"([{"AccessToken":")" + token + R"(","MacAddr":")" + kMacA + R"(","AccessClass":0}])",
        testsupport::readFile(authFile()));
    // The outcome is counted as an Allow.
    EXPECT_EQ((std::vector<std::string>{"{svn=ipcontrol;result=Allow}"}), kpiDescriptions());
}

TEST_F(AccessManagerTest, AllowForKnownClientReplacesItsTokenAndClass) {
    AccessManager& access = manager();
    access.assignLowerAccessClass(kMacA);
    access.assignLowerAccessClass(kMacB);
    access.issueAccessToken(kMacA);
    popups().answer(NOTIFICATION_EVENT_BUTTON_1);

    std::vector<AuthRecord> list = access.authList();
    ASSERT_EQ(2u, list.size());
    EXPECT_EQ(kMacA, list[0].macAddr);
    EXPECT_EQ(AuthRecord::AUTHORISED, list[0].accessClass);
    EXPECT_EQ(outcomes().back(), list[0].accessToken);
    EXPECT_EQ(AuthRecord::DENIED_ONCE, list[1].accessClass);
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

    std::string allow(const char* macAddr) {
        m_manager->issueAccessToken(macAddr);
        popups().answer(NOTIFICATION_EVENT_BUTTON_1);
        return outcomes().back();
    }
};

TEST_F(HardenedAccessManagerTest, EmptyOrMalformedTokensNeverMatchAndTokensAreRandomAndDistinct) {
    // A hand-edited list with a short token, then a Deny that leaves a record with none.
    testsupport::writeFile(authFile(), R"([{"AccessToken":"abc","MacAddr":"aa:bb:cc:dd:ee:09",)"
                                       R"("AccessClass":0}])");
    AccessManager& access = manager();
    access.issueAccessToken(kMacA);
    popups().answer(NOTIFICATION_EVENT_BUTTON_2);
    EXPECT_FALSE(access.isRegisteredInAuthGroup(""));
    EXPECT_FALSE(access.isRegisteredInAuthGroup("abc"));

    // Two clients allowed within the same second.
    const std::string first = allow(kMacA);
    const std::string second = allow(kMacB);
    for (const std::string& token : {first, second}) {
        ASSERT_EQ(49u, token.size());
        EXPECT_EQ(std::string::npos, token.find_first_not_of(kTokenAlphabet));
        EXPECT_TRUE(access.isRegisteredInAuthGroup(token));
    }
    EXPECT_NE(first, second);
}

TEST_F(HardenedAccessManagerTest, LogLinesShowOnlyTheFirstFourCharactersOfAToken) {
    testsupport::LogCapture log;
    AccessManager& access = manager();
    const std::string token = allow(kMacA);
    access.isRegisteredInAuthGroup(token);
    EXPECT_TRUE(log.contains("generated AToken:" + token.substr(0, 4) + "\u2026"));
    EXPECT_TRUE(log.contains("received AccessToken:" + token.substr(0, 4) + "\u2026"));
    EXPECT_FALSE(log.contains(token.substr(0, 5)));
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

struct EndingEvent {
    const char* name;
    int event;
    bool delivered;  // "timeout" goes out; otherwise nothing
};

class PopUpEndingTest : public AccessManagerTest,
                        public ::testing::WithParamInterface<EndingEvent> {};

TEST_P(PopUpEndingTest, EndsThePopUpAndDeliversAtMostTimeout) {
    AccessManager& access = manager();
    access.issueAccessToken(kMacA);
    popups().answer(GetParam().event);
    EXPECT_EQ(
        GetParam().delivered ? std::vector<std::string>{"timeout"} : std::vector<std::string>{},
        outcomes());
    // Later events of that pop-up are ignored, and the same client may ask again.
    popups().answer(NOTIFICATION_EVENT_BUTTON_1);
    EXPECT_EQ(GetParam().delivered ? 1u : 0u, outcomes().size());
    EXPECT_TRUE(access.issueAccessToken(kMacA));
    EXPECT_TRUE(access.authList().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Events, PopUpEndingTest,
    ::testing::Values(EndingEvent{"Close", NOTIFICATION_EVENT_BUTTON_3, true},
                      EndingEvent{"HiddenByTimeout", NOTIFICATION_EVENT_HIDDEN_BY_TIMEOUT, true},
                      EndingEvent{"HiddenByExternal", NOTIFICATION_EVENT_HIDDEN_BY_EXTERNAL,
                                  false}),
    [](const ::testing::TestParamInfo<EndingEvent>& info) { return info.param.name; });

TEST_F(AccessManagerTest, ReleaseTimeoutDeliversTimeoutOnceAndALateAllowNothing) {
    AccessManager& access = manager(20);
    access.issueAccessToken(kMacA);
    ASSERT_TRUE(testsupport::pumpMainLoopUntil([&] { return !outcomes().empty(); }));
    EXPECT_EQ((std::vector<std::string>{"timeout"}), outcomes());

    popups().answer(NOTIFICATION_EVENT_BUTTON_1);
    EXPECT_EQ(1u, outcomes().size());
    EXPECT_TRUE(access.authList().empty());
}

TEST_F(AccessManagerTest, AnsweredPopUpDisarmsTheReleaseTimer) {
    AccessManager& access = manager(20);
    access.issueAccessToken(kMacA);
    popups().answer(NOTIFICATION_EVENT_BUTTON_2);
    // A second pop-up's timer is the only one left; it fires once, for the second pop-up.
    access.issueAccessToken(kMacB);
    ASSERT_TRUE(testsupport::pumpMainLoopUntil([&] { return outcomes().size() == 2; }));
    EXPECT_EQ((std::vector<std::string>{"denied", "timeout"}), outcomes());
    EXPECT_TRUE(access.issueAccessToken(kMacB));
}

TEST_F(AccessManagerTest, SecondClientEndsTheFirstClientsPopUpWithTimeout) {
    AccessManager& access = manager();
    access.issueAccessToken(kMacA);
    // The first outcome reaches the receiver inside the second request, before its pop-up.
    size_t postsWhenDelivered = 0;
    m_manager->setNotifyCallback([&](const std::string& result) {
        postsWhenDelivered = popups().posted().size();
        std::lock_guard<std::mutex> lock(m_mutex);
        m_outcomes.push_back(result);
        return true;
    });
    ASSERT_TRUE(access.issueAccessToken(kMacB));
    EXPECT_EQ((std::vector<std::string>{"timeout"}), outcomes());
    EXPECT_EQ(1u, postsWhenDelivered);
    EXPECT_EQ(2u, popups().posted().size());

    popups().answer(NOTIFICATION_EVENT_BUTTON_1);
    ASSERT_EQ(1u, access.authList().size());
    EXPECT_EQ(kMacB, access.authList()[0].macAddr);
}

TEST_F(AccessManagerTest, SameClientTwiceIsRefusedWithoutASecondPopUp) {
    AccessManager& access = manager();
    ASSERT_TRUE(access.issueAccessToken(kMacA));
    EXPECT_FALSE(access.issueAccessToken(kMacA));
    EXPECT_EQ(1u, popups().posted().size());
    EXPECT_TRUE(outcomes().empty());
    // The first pop-up is still the live one.
    popups().answer(NOTIFICATION_EVENT_BUTTON_1);
    EXPECT_EQ(1u, outcomes().size());
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

TEST_F(AccessManagerTest, ResetForgetsEveryClientAndSavesNull) {
    AccessManager& access = manager();
    access.issueAccessToken(kMacA);
    popups().answer(NOTIFICATION_EVENT_BUTTON_1);
    access.resetAuthGroupData();
    EXPECT_FALSE(access.isRegisteredInAuthGroup(outcomes()[0]));
    EXPECT_EQ("null", testsupport::readFile(authFile()));
}

// The TV screen's revoke: the client's token is refused at once, other clients keep theirs.
TEST_F(AccessManagerTest, RevokeForgetsOneClientInMemoryAndInTheFile) {
    AccessManager& access = manager();
    for (const char* mac : {kMacA, kMacB}) {
        access.issueAccessToken(mac);
        popups().answer(NOTIFICATION_EVENT_BUTTON_1);
    }
    EXPECT_EQ(1, access.revokeClient(kMacA));
    EXPECT_EQ(0, access.revokeClient(kMacA));
    ASSERT_EQ(1u, access.authList().size());
    EXPECT_EQ(kMacB, access.authList()[0].macAddr);
    EXPECT_EQ(std::string::npos, testsupport::readFile(authFile()).find(kMacA));
    EXPECT_NE(std::string::npos, testsupport::readFile(authFile()).find(kMacB));
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
                access.issueAccessToken(mac);
                popups().answer(NOTIFICATION_EVENT_BUTTON_1);
                tokens.insert(outcomes().back());
                break;
            case 2:
                access.issueAccessToken(mac);
                popups().answer(NOTIFICATION_EVENT_BUTTON_2);
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
