// The device side as it stands: every command comes back once as an unknown method.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "Manager/CmdRequest.h"
#include "Manager/DeviceManager.h"

using common::json::JsonValue;

namespace {

// What came back through the enqueue-for-response hook.
struct Answer {
    std::string method;
    bool bJsonRpcError;
    eJSONRPCErrorCode errorIndex;
    _DeviceManagerError resultCode;
    DYNF_TVCONTROL_PROP_TYPE propType;
};

class DeviceManagerTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_device.create());
        m_device.m_enqueueForResponseHook.set([this](CmdRequest* cmd) {
            m_answers.push_back(
                {cmd->method, cmd->bJsonRpcError, cmd->errorIndex, cmd->resultCode, cmd->propType});
        });
    }

    void TearDown() override { m_device.destroy(); }

    static CmdRequest* command(const std::string& method, const std::string& params) {
        auto* cmd = new CmdRequest;
        cmd->method = method;
        cmd->params = JsonValue::Create(params);
        return cmd;
    }

    std::vector<Answer> m_answers;
    DeviceManager m_device;
};

TEST_F(DeviceManagerTest, AnswersReadsAndWritesAsUnknownMethodOnce) {
    m_device.runCommand(command("powerControl", R"({"AccessToken":"t"})"));
    m_device.runCommand(command("powerControl", R"({"AccessToken":"t","power":"powerOff"})"));
    m_device.runCommand(command("getCabinetStates", R"({"cabinetId":"1"})"));
    ASSERT_EQ(3u, m_answers.size());
    for (const Answer& answer : m_answers) {
        EXPECT_TRUE(answer.bJsonRpcError) << answer.method;
        EXPECT_EQ(METHOD_NOT_FOUND, answer.errorIndex) << answer.method;
        EXPECT_EQ(DEVICE_MANAGER_ERROR_INVALID_OPERATION, answer.resultCode) << answer.method;
        EXPECT_EQ(TVCONTROL_PROP_TYPE_INVALID, answer.propType) << answer.method;
    }
    // Each command was released after its answer; the leak checker sees any that was not.
}

TEST_F(DeviceManagerTest, CommandWithNowhereToGoIsReleasedUnanswered) {
    m_device.m_enqueueForResponseHook.reset();  // the controller has already unwired
    m_device.runCommand(command("powerControl", "{}"));
    m_device.destroy();  // no device any more
    m_device.runCommand(command("powerControl", "{}"));
    EXPECT_TRUE(m_answers.empty());
}

}  // namespace
