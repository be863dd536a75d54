// The request pipeline, the device manager and the TV over the stand-in framework: what the
// client receives, once per request.
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "Manager/DeviceManager.h"
#include "Manager/ServiceManager.h"
#include "System/FakeDynf.h"

using common::json::JsonValue;
using fakedynf::Framework;

namespace {

class TVControlPipelineTest : public ::testing::Test {
protected:
    void SetUp() override {
        Framework::instance().reset();
        m_pipeline.create();
        m_pipeline.m_accessTokenCheckInAuthGroupHook.set([](std::string) { return 1; });
        m_pipeline.m_sendResponseHook.set([this](unsigned int, const std::string& text) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_sent.push_back(JsonValue::Create(text));
            m_changed.notify_all();
        });
        m_pipeline.m_runCommandHook.set([this](CmdRequest* cmd) { m_device.runCommand(cmd); });
        m_device.m_enqueueForResponseHook.set(
            [this](CmdRequest* cmd) { m_pipeline.enqueueResponseData(cmd); });
        ASSERT_TRUE(m_device.create());
    }

    void TearDown() override {
        m_pipeline.destroy();
        m_device.destroy();
        Framework::instance().reset();
    }

    void send(const char* id, const std::string& method, const std::string& values = "") {
        m_pipeline.handleJsonRequest(7, std::string(R"({"jsonrpc":"2.0","id":)") + id +
                                            R"(,"method":")" + method +
                                            R"(","params":{"AccessToken":"t")" + values + "}}");
    }

    // Waits (bounded) until count responses have been sent and returns them.
    std::vector<JsonValue> sentWhenCount(size_t count) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_for(lock, std::chrono::seconds(5), [&] { return m_sent.size() >= count; });
        return m_sent;
    }

    std::mutex m_mutex;  // protects m_sent
    std::condition_variable m_changed;
    std::vector<JsonValue> m_sent;
    DeviceManager m_device;
    ServiceManager m_pipeline;  // last: its worker thread is joined before the rest goes
};

TEST_F(TVControlPipelineTest, PowerReadIsAnsweredWithTheClientWord) {
    send("1", "powerControl");
    ASSERT_TRUE(Framework::instance().waitForCalls(1));
    ASSERT_TRUE(Framework::instance().answer(0, DYNF_ERROR_NONE,
                                             fakedynf::stringList("powerValue", "off")));
    std::vector<JsonValue> sent = sentWhenCount(1);
    ASSERT_EQ(1u, sent.size());
    EXPECT_EQ("1", sent[0]["id"].asString());
    EXPECT_EQ(JsonValue::Create(R"({"power":"powerOff"})"), sent[0]["result"]);
}

TEST_F(TVControlPipelineTest, PowerWriteEchoesItsParams) {
    send("2", "powerControl", R"(,"power":"reboot")");
    ASSERT_TRUE(Framework::instance().waitForCalls(1));
    ASSERT_TRUE(Framework::instance().answer(0, DYNF_ERROR_NONE, nullptr));
    std::vector<JsonValue> sent = sentWhenCount(1);
    ASSERT_EQ(1u, sent.size());
    EXPECT_EQ(JsonValue::Create(R"({"power":"reboot"})"), sent[0]["result"]);
}

TEST_F(TVControlPipelineTest, UnavailableServiceIsAnsweredOnce) {
    Framework::instance().sendStatus("tvcontrol", DYNF_SERVICE_UNAVAILABLE);
    send("1", "powerControl");
    send("2", "fooControl");
    // Answers go out in order on the worker: a second answer to the first would come before
    // the second request's.
    std::vector<JsonValue> sent = sentWhenCount(2);
    ASSERT_EQ(2u, sent.size());
    EXPECT_EQ("1", sent[0]["id"].asString());
    EXPECT_EQ(-32002, sent[0]["error"]["code"].asInt());
    EXPECT_EQ("2", sent[1]["id"].asString());
    EXPECT_EQ(-32601, sent[1]["error"]["code"].asInt());
}

}  // namespace
