// The TV manager over the stand-in framework: read or write, lookup by the TV's mode, the
// failure answers, and the release of every command exactly once.
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Core/AppSettings.h"
#include "JsonValue.h"
#include "Manager/CmdRequest.h"
#include "Manager/DeviceManager.h"
#include "System/FakeDynf.h"
#include "System/TVManager.h"
#include "device_power.h"
#include "support/PlatformFixture.h"
#include "vconf.h"

using common::json::JsonValue;
using fakedynf::Framework;

namespace {

const char* const kConfigFlagsKey = "db/private/ipcontrol/config_flags";

// A command as it came back through the owner.
struct Answer {
    const CmdRequest* pointer;
    std::string jsonId;
    bool bJsonRpcError;
    eJSONRPCErrorCode errorIndex;
    _DeviceManagerError resultCode;
    JsonValue result;
};

class TVManagerTest : public ::testing::Test {
protected:
    void SetUp() override {
        Framework::instance().reset();
        m_owner.m_enqueueForResponseHook.set([this](CmdRequest* cmd) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_answers.push_back({cmd, cmd->jsonId, cmd->bJsonRpcError, cmd->errorIndex,
                                 cmd->resultCode, cmd->result});
        });
    }

    void TearDown() override {
        if (m_created) {
            m_tv.destroy();
        }
        device_power_set_ambient_mode(0);
        device_power_set_ambient_type(0);
        ipc_platform::shutdown();
        Framework::instance().reset();
    }

    // Brings up a product with the given feature keys (and stored flags) and creates the TV on it.
    void createOn(const std::string& featureconf, const char* flags = nullptr) {
        std::string error;
        ASSERT_TRUE(testsupport::startPlatform(m_dir, testsupport::makeProfile(featureconf), error))
            << error;
        ASSERT_TRUE(flags == nullptr || vconf_set_str(kConfigFlagsKey, flags) == 0);
        ASSERT_TRUE(m_tv.create(&m_owner));
        m_created = true;
    }

    // Runs a command; its id is its number in this test.
    void run(const std::string& method, const std::string& params) {
        auto* request = new CmdRequest;
        request->jsonId = std::to_string(++m_commands);
        request->method = method;
        request->params = JsonValue::Create(params);
        m_tv.runCommand(request);
    }

    std::vector<Answer> answers() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_answers;
    }

    // The single answer so far; fails the test otherwise.
    Answer onlyAnswer() {
        std::vector<Answer> all = answers();
        EXPECT_EQ(1u, all.size());
        return all.empty() ? Answer{} : all.back();
    }

    // Error index of the single answer to one command run now.
    eJSONRPCErrorCode errorOf(const std::string& method, const std::string& params) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_answers.clear();
        }
        run(method, params);
        Answer answer = onlyAnswer();
        EXPECT_TRUE(answer.bJsonRpcError) << method << " " << params;
        return answer.errorIndex;
    }

    // The first property of the one framework call made so far, or "".
    static std::string askedProperty() {
        const std::vector<fakedynf::Call> calls = Framework::instance().calls();
        EXPECT_EQ(1u, calls.size());
        return calls.size() == 1 && !calls[0].properties.empty() ? calls[0].properties[0].name
                                                                 : std::string();
    }

    testsupport::TempDir m_dir;
    DeviceManager m_owner;
    TVManager m_tv;
    bool m_created = false;
    int m_commands = 0;
    std::mutex m_mutex;  // protects m_answers
    std::vector<Answer> m_answers;
};

TEST_F(TVManagerTest, ParamsBesidesTheTokenMakeAWrite) {
    createOn("");
    run("powerControl", R"({"AccessToken":"t"})");
    run("powerControl", "{}");
    run("powerControl", "");
    run("powerControl", "[1,2]");
    run("powerControl", R"({"AccessToken":"t","power":"powerOff"})");
    std::vector<fakedynf::Call> calls = Framework::instance().calls();
    ASSERT_EQ(5u, calls.size());
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_FALSE(calls[i].isSet) << i;
    }
    EXPECT_TRUE(calls[4].isSet);
    EXPECT_EQ("off", calls[4].properties.at(0).text);
    EXPECT_TRUE(answers().empty());  // the framework has not answered; destroy releases them
}

TEST_F(TVManagerTest, TestWallModeWrittenFromOutsideAppliesToTheNextCommand) {
    createOn("\"tessera_support\": false");
    EXPECT_EQ(METHOD_NOT_FOUND, errorOf("getBoxStates", "{}"));
    // Written as the admin API does: from another thread, straight into the store.
    std::thread([] { vconf_set_str(kConfigFlagsKey, R"({"test_wall_mode":true})"); }).join();
    ASSERT_TRUE(
        testsupport::pumpMainLoopUntil([] { return AppSettings::getInstance().isTestWallMode(); }));
    run("getBoxStates", "{}");
    EXPECT_EQ("wallBoxStates", askedProperty());
}

// The settings throw for flags that are not an object; the TV takes that as no test wall mode.
TEST_F(TVManagerTest, FlagsThatAreNotAnObjectLeaveTestWallModeOff) {
    createOn("", "[true]");
    EXPECT_FALSE(m_tv.isWall());
    EXPECT_EQ(METHOD_NOT_FOUND, errorOf("getBoxStates", "{}"));
}

TEST_F(TVManagerTest, AmbientScreenRefusesOnlyWritesOfNoneAmbientMethods) {
    createOn("\"ambient_screen_support\": true");
    device_power_set_ambient_mode(1);
    EXPECT_EQ(METHOD_NOT_FOUND, errorOf("pictureModeControl", R"({"pictureMode":"Movie"})"));
    // The read is found and asked of the framework, as is the open method's write.
    run("pictureModeControl", R"({"AccessToken":"t"})");
    run("powerControl", R"({"power":"powerOff"})");
    ASSERT_EQ(2u, Framework::instance().calls().size());
    EXPECT_FALSE(Framework::instance().calls()[0].isSet);
}

TEST_F(TVManagerTest, EaselTvIsAmbientOnlyWhileShowingArt) {
    createOn("\"easel_tv\": true");
    device_power_set_ambient_mode(1);
    device_power_set_ambient_type(3);
    EXPECT_FALSE(m_tv.getAmbientMode());
    device_power_set_ambient_type(4);
    EXPECT_TRUE(m_tv.getAmbientMode());
    device_power_set_ambient_mode(0);
    EXPECT_FALSE(m_tv.getAmbientMode());
}

// A value that cannot be used fails as a refused write, before any call; an unknown word keeps
// its own error. A start the framework refuses fails the same way.
TEST_F(TVManagerTest, CommandsNotStartedAnswerTheirError) {
    createOn("");
    EXPECT_EQ(SERVER_ERROR_FAILED, errorOf("directVolumeControl", R"({"volume":"abc"})"));
    EXPECT_EQ(DEVICE_MANAGER_ERROR_FAILED, onlyAnswer().resultCode);
    EXPECT_EQ(SERVER_ERROR_FAILED, errorOf("powerControl", R"({"power":{"on":1}})"));
    EXPECT_EQ(INVALID_PARAMS, errorOf("remoteKeyControl", R"({"remoteKey":"Enter"})"));
    EXPECT_TRUE(Framework::instance().calls().empty());
    Framework::instance().setCallResult(-1);
    EXPECT_EQ(SERVER_ERROR_FAILED, errorOf("powerControl", "{}"));
    EXPECT_EQ(DEVICE_MANAGER_ERROR_FAILED, onlyAnswer().resultCode);
}

TEST_F(TVManagerTest, UnavailableServiceHandsTheCommandBackTwiceAndFreesItOnce) {
    createOn("");
    Framework::instance().sendStatus("tvcontrol", DYNF_SERVICE_UNAVAILABLE);
    run("powerControl", "{}");
    std::vector<Answer> all = answers();
    ASSERT_EQ(2u, all.size());
    EXPECT_EQ(all[0].pointer, all[1].pointer);
    EXPECT_EQ(SERVER_ERROR_FAILED, all[1].errorIndex);
    EXPECT_EQ(DEVICE_MANAGER_ERROR_FAILED, all[1].resultCode);
}

TEST_F(TVManagerTest, CommandBeforeCreateIsReleasedUnanswered) {
    run("powerControl", "{}");
    EXPECT_TRUE(answers().empty());
}

TEST_F(TVManagerTest, EveryMethodWithAnyParamsIsAnsweredOnce) {
    createOn("\"tessera_support\": true");
    const char* const methods[] = {"powerControl",           "directVolumeControl",
                                   "USBSourceControl",       "externalSpeakerControl",
                                   "getCabinetStates",       "backlightControl",
                                   "colorSpace.BlueControl", "displayRotatorControl",
                                   "noSuchControl",          ""};
    const char* const params[] = {"{}",
                                  "null",
                                  "[]",
                                  "5",
                                  R"("text")",
                                  R"({"AccessToken":5})",
                                  R"({"AccessToken":"t","power":"powerOn"})",
                                  R"({"power":"12"})",
                                  R"({"power":12})",
                                  R"({"power":-1e308})",
                                  R"({"power":18446744073709551616})",
                                  R"({"power":null})",
                                  R"({"power":{"a":[1]}})",
                                  R"({"power":[["x"]]})",
                                  R"({"value":"2147483648"})",
                                  R"({"":""})"};
    for (const char* method : methods) {
        for (const char* param : params) {
            run(method, param);
        }
    }
    // Whatever the framework was asked, it answers; every command then has exactly one answer.
    const size_t calls = Framework::instance().calls().size();
    for (size_t i = 0; i < calls; ++i) {
        Framework::instance().answer(i, DYNF_ERROR_NONE, fakedynf::stringList("powerValue", "on"));
    }
    std::map<std::string, int> answered;
    for (const Answer& answer : answers()) {
        ++answered[answer.jsonId];
    }
    EXPECT_EQ(static_cast<size_t>(m_commands), answered.size());
    for (const auto& [id, count] : answered) {
        EXPECT_EQ(1, count) << "command " << id;
    }
}

}  // namespace
