// The device side as it stands: every command comes back once as an unknown method.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "Manager/CmdRequest.h"
#include "Manager/DeviceManager.h"

using common::json::JsonValue;

namespace {

class DeviceManagerTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_device.create());
        m_device.m_enqueueForResponseHook.set([this](CmdRequest* cmd) {
            m_answers.push_back(cmd->method + (cmd->bJsonRpcError ? " error " : " ") +
                                std::to_string(cmd->errorIndex) + " " +
                                std::to_string(cmd->resultCode) + " " +
                                std::to_string(cmd->propType));
        });
    }

    void TearDown() override { m_device.destroy(); }

    static CmdRequest* command(const std::string& method, const std::string& params) {
        auto* cmd = new CmdRequest;
        cmd->method = method;
        cmd->params = JsonValue::Create(params);
        return cmd;
    }

    // How an unknown method comes back through the enqueue-for-response hook.
    static std::string unknownMethod(const std::string& method) {
        return method + " error " + std::to_string(METHOD_NOT_FOUND) + " " +
               std::to_string(DEVICE_MANAGER_ERROR_INVALID_OPERATION) + " " +
               std::to_string(TVCONTROL_PROP_TYPE_INVALID);
    }

    std::vector<std::string> m_answers;
    DeviceManager m_device;
};

TEST_F(DeviceManagerTest, AnswersReadsAndWritesAsUnknownMethodOnce) {
    m_device.runCommand(command("powerControl", R"({"AccessToken":"t"})"));
    m_device.runCommand(command("powerControl", R"({"AccessToken":"t","power":"powerOff"})"));
    m_device.runCommand(command("getCabinetStates", R"({"cabinetId":"1"})"));
    EXPECT_EQ(
        (std::vector<std::string>{unknownMethod("powerControl"), unknownMethod("powerControl"),
                                  unknownMethod("getCabinetStates")}),
        m_answers);
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
