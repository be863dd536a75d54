// Power control: the client's and the framework's words in both directions.
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "Manager/CmdRequest.h"
#include "System/FakeDynf.h"
#include "System/PowerControlHelper.h"

using common::json::JsonValue;

namespace {

using List = std::unique_ptr<dynf_property_list_s, fakedynf::ListDeleter>;

class PowerControlHelperTest : public ::testing::Test {
protected:
    static CmdRequest command(const std::string& params) {
        CmdRequest request;
        request.method = "powerControl";
        request.params = JsonValue::Create(params);
        request.propType = POWER_CONTROL;
        return request;
    }

    // The "powerValue" text the helper would send, or null when it builds nothing.
    std::unique_ptr<std::string> sent(CmdRequest& request) {
        List list(m_helper.getPropertyData(&request));
        std::vector<fakedynf::Property> properties = fakedynf::describe(list.get());
        if (properties.empty()) {
            return nullptr;
        }
        EXPECT_EQ(1u, properties.size());
        EXPECT_EQ("powerValue", properties[0].name);
        EXPECT_EQ(DYNF_PROPERTY_STRING, properties[0].type);
        return std::make_unique<std::string>(properties[0].text);
    }

    // The result of a read that the framework answers with powerValue = value.
    JsonValue readAnswer(const std::string& value) {
        CmdRequest request = command(R"({"AccessToken":"t"})");
        List answer(fakedynf::stringList("powerValue", value));
        m_helper.handleResult(DYNF_ERROR_NONE, answer.get(), &request);
        EXPECT_FALSE(request.bJsonRpcError) << value;
        return request.result;
    }

    PowerControlHelper m_helper;
};

TEST_F(PowerControlHelperTest, ReadAsksForThePowerValue) {
    CmdRequest request = command(R"({"AccessToken":"t"})");
    std::unique_ptr<std::string> value = sent(request);
    ASSERT_NE(nullptr, value);
    EXPECT_EQ("", *value);
}

TEST_F(PowerControlHelperTest, WriteSendsTheFrameworkWord) {
    const std::pair<const char*, const char*> words[] = {
        {"powerOn", "on"}, {"powerOff", "off"}, {"reboot", "reboot"}};
    for (const auto& [client, framework] : words) {
        CmdRequest request =
            command(std::string(R"({"AccessToken":"t","power":")") + client + "\"}");
        std::unique_ptr<std::string> value = sent(request);
        ASSERT_NE(nullptr, value) << client;
        EXPECT_EQ(framework, *value);
    }
}

TEST_F(PowerControlHelperTest, OtherWordsAreRefusedAsStrange) {
    // Left for the handler to fail as a refused start; no error of the params' kind.
    for (const char* params : {R"({"power":"on"})", R"({"power":"PowerOn"})", R"({"power":""})",
                               R"({"power":1})", R"({"power":null})", R"({"level":"powerOn"})"}) {
        CmdRequest request = command(params);
        EXPECT_EQ(nullptr, sent(request)) << params;
        EXPECT_FALSE(request.bJsonRpcError) << params;
    }
}

TEST_F(PowerControlHelperTest, ReadAnswersTheClientWord) {
    EXPECT_EQ(JsonValue::Create(R"({"power":"powerOn"})"), readAnswer("on"));
    EXPECT_EQ(JsonValue::Create(R"({"power":"powerOff"})"), readAnswer("off"));
    EXPECT_EQ(JsonValue::Create(R"({"power":"reboot"})"), readAnswer("reboot"));
}

TEST_F(PowerControlHelperTest, UnknownFrameworkWordAnswersAnEmptyResult) {
    EXPECT_EQ(JsonValue::Create("{}"), readAnswer("standby"));
    EXPECT_EQ(JsonValue::Create("{}"), readAnswer("powerOn"));
}

TEST_F(PowerControlHelperTest, AnswerWithoutPowerValueFails) {
    CmdRequest request = command("{}");
    List answer(fakedynf::stringList("volume", "3"));
    m_helper.handleResult(DYNF_ERROR_NONE, answer.get(), &request);
    EXPECT_TRUE(request.bJsonRpcError);
    EXPECT_EQ(SERVER_ERROR_FAILED, request.errorIndex);
    EXPECT_EQ(DEVICE_MANAGER_ERROR_UNKNOWN, request.resultCode);
}

}  // namespace
