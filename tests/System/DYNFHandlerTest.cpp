// The framework handler over the stand-in framework: creation, the calls it makes, the answers
// it routes, unavailable services, refusals, and the release of every command.
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "Manager/CmdRequest.h"
#include "Manager/DeviceManager.h"
#include "System/DYNFHandler.h"
#include "System/FakeDynf.h"

using common::json::JsonValue;
using fakedynf::Framework;

namespace {

// A command as it came back through the owner.
struct Answer {
    bool bJsonRpcError;
    eJSONRPCErrorCode errorIndex;
    _DeviceManagerError resultCode;
    JsonValue result;
};

class DYNFHandlerTest : public ::testing::Test {
protected:
    void SetUp() override {
        framework().reset();
        m_owner.m_enqueueForResponseHook.set([this](CmdRequest* cmd) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_answers.push_back(
                {cmd->bJsonRpcError, cmd->errorIndex, cmd->resultCode, cmd->result});
        });
    }

    void TearDown() override {
        m_handler.reset();
        framework().reset();
    }

    static Framework& framework() { return Framework::instance(); }

    bool create() {
        m_handler = std::make_unique<DYNFHandler>();
        return m_handler->create(&m_owner);
    }

    static CmdRequest* command(const std::string& method, DYNF_TVCONTROL_PROP_TYPE type,
                               const std::string& params = R"({"AccessToken":"t"})") {
        auto* request = new CmdRequest;
        request->method = method;
        request->params = JsonValue::Create(params);
        request->propType = type;
        return request;
    }

    // Starts a command as the TV manager does and, like it, frees it when it was not taken.
    bool start(CmdRequest* request, bool isSet = false) {
        const bool taken = isSet ? m_handler->setRequest(request) : m_handler->getRequest(request);
        if (!taken) {
            delete request;
        }
        return taken;
    }

    bool startPowerRead() { return start(command("powerControl", POWER_CONTROL)); }

    std::vector<Answer> answers() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_answers;
    }

    DeviceManager m_owner;
    std::unique_ptr<DYNFHandler> m_handler;
    std::mutex m_mutex;  // protects m_answers
    std::vector<Answer> m_answers;
};

TEST_F(DYNFHandlerTest, CreateNeedsTheFrameworkAndBothServices) {
    ASSERT_TRUE(create());
    EXPECT_EQ((std::vector<std::string>{"tvcontrol", "tvcontrol"}), framework().subscriptions());
    EXPECT_EQ(POWER_CONTROL, m_handler->getTypeForGetOp(false, "powerControl"));

    framework().reset();
    framework().setCreateFails(true);
    EXPECT_FALSE(create());
    EXPECT_EQ(TVCONTROL_PROP_TYPE_INVALID, m_handler->getTypeForGetOp(false, "powerControl"));
    m_handler->destroy();

    framework().reset();
    framework().setSubscriptionFailure(1);
    EXPECT_FALSE(create());
    ASSERT_TRUE(startPowerRead());
    EXPECT_TRUE(framework().answer(0, DYNF_ERROR_NONE, fakedynf::stringList("powerValue", "on")));
    EXPECT_TRUE(answers().empty());  // and the command was freed: the leak checker would see it
}

TEST_F(DYNFHandlerTest, FrameworkErrorInTheResultFailsTheCommand) {
    ASSERT_TRUE(create());
    ASSERT_TRUE(start(command("powerControl", POWER_CONTROL, R"({"power":"powerOn"})"), true));
    EXPECT_TRUE(framework().calls()[0].isSet);
    EXPECT_TRUE(framework().answer(0, DYNF_ERROR_INVALID_VALUE, nullptr));
    ASSERT_EQ(1u, answers().size());
    EXPECT_TRUE(answers()[0].bJsonRpcError);
    EXPECT_EQ(SERVER_ERROR_FAILED, answers()[0].errorIndex);
    EXPECT_EQ(DEVICE_MANAGER_ERROR_FAILED, answers()[0].resultCode);
}

TEST_F(DYNFHandlerTest, UnavailableServiceAnswersAtOnceWithoutCall) {
    // Reported while the handler is still being created, and kept.
    framework().setOnCreate([](dynf_protocol_h handle) {
        Framework::instance().sendStatus(handle, "tvcontrol", DYNF_SERVICE_UNAVAILABLE);
    });
    ASSERT_TRUE(create());
    EXPECT_FALSE(startPowerRead());
    EXPECT_TRUE(framework().calls().empty());
    ASSERT_EQ(1u, answers().size());
    EXPECT_EQ(SERVER_ERROR_FAILED, answers()[0].errorIndex);
    EXPECT_EQ(DEVICE_MANAGER_ERROR_FAILED, answers()[0].resultCode);

    framework().sendStatus("tvcontrol", DYNF_SERVICE_AVAILABLE);
    EXPECT_TRUE(startPowerRead());
}

TEST_F(DYNFHandlerTest, SpeakerAndUsbHelpersJudgeAnUnavailableService) {
    ASSERT_TRUE(create());
    framework().sendStatus("tvcontrol", DYNF_SERVICE_UNAVAILABLE);
    EXPECT_FALSE(start(
        command("externalSpeakerControl", EXTERNAL_SPEAKER_CONTROL, R"({"speaker":"on"})"), true));
    EXPECT_FALSE(start(command("USBSourceControl", USB_SOURCE_CONTROL)));
    ASSERT_EQ(2u, answers().size());
    // The write's error goes through the helpers' table, not the handler's.
    EXPECT_EQ(SERVER_ERROR_FAILED, answers()[0].errorIndex);
    EXPECT_EQ(DEVICE_MANAGER_ERROR_UNKNOWN, answers()[0].resultCode);
    // The read reaches the source helper, which answers that no USB device can be chosen.
    EXPECT_FALSE(answers()[1].bJsonRpcError);
    EXPECT_EQ(JsonValue::Create("[]"), answers()[1].result);
}

// Without property data, or refused by the framework: the caller answers and frees it.
TEST_F(DYNFHandlerTest, CommandsNotStartedAreLeftToTheCaller) {
    ASSERT_TRUE(create());
    EXPECT_FALSE(start(
        command("inputSourceControl", INPUT_SOURCE_CONTROL, R"({"inputSource":"USB"})"), true));
    EXPECT_FALSE(start(command("powerControl", POWER_CONTROL, R"({"power":"on"})"), true));
    EXPECT_TRUE(framework().calls().empty());
    framework().setCallResult(-5);
    EXPECT_FALSE(startPowerRead());
    EXPECT_EQ(1u, framework().calls().size());
    EXPECT_TRUE(answers().empty());
}

// Commands the framework never answered, or answers while the handler goes: freed unanswered.
TEST_F(DYNFHandlerTest, DestroyReleasesOpenCommandsUnanswered) {
    ASSERT_TRUE(create());
    ASSERT_TRUE(startPowerRead());
    ASSERT_TRUE(startPowerRead());
    m_handler->destroy();
    EXPECT_TRUE(answers().empty());
    EXPECT_EQ(2u, framework().unsubscriptions().size());
    EXPECT_EQ(0, framework().liveHandles());
    EXPECT_EQ(TVCONTROL_PROP_TYPE_INVALID, m_handler->getTypeForGetOp(false, "powerControl"));

    ASSERT_TRUE(create());
    framework().setAnswerOpenCallsOnDestroy(true, DYNF_ERROR_NONE);
    ASSERT_TRUE(startPowerRead());
    m_handler->destroy();
    EXPECT_TRUE(answers().empty());
}

TEST_F(DYNFHandlerTest, EveryCommandIsAnsweredOnceWhileTheServiceComesAndGoes) {
    ASSERT_TRUE(create());
    const int kCommands = 100;
    std::atomic<bool> done{false};
    std::thread flapping([&] {
        for (int i = 0; !done; ++i) {
            framework().sendStatus("tvcontrol",
                                   i % 2 ? DYNF_SERVICE_AVAILABLE : DYNF_SERVICE_UNAVAILABLE);
        }
    });
    // Accepted calls are answered while the next commands start.
    std::vector<std::thread> answering;
    for (int i = 0; i < kCommands; ++i) {
        if (startPowerRead()) {
            const size_t index = framework().calls().size() - 1;
            answering.emplace_back([index] {
                Framework::instance().answer(index, DYNF_ERROR_NONE,
                                             fakedynf::stringList("powerValue", "on"));
            });
        }
    }
    done = true;
    flapping.join();
    for (std::thread& thread : answering) {
        thread.join();
    }
    EXPECT_EQ(static_cast<size_t>(kCommands), answers().size());
}

}  // namespace
