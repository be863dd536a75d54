// Power control: the client's and the framework's words in both directions.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "System/HelperTestSupport.h"
#include "System/PowerControlHelper.h"

using common::json::JsonValue;
using helpertest::command;

namespace {

class PowerControlHelperTest : public ::testing::Test {
protected:
    static CmdRequest power(const std::string& params) {
        return command(POWER_CONTROL, "powerControl", params);
    }

    PowerControlHelper m_helper;
};

TEST_F(PowerControlHelperTest, WordsAreTranslatedBothWays) {
    const std::pair<const char*, const char*> words[] = {
        {"powerOn", "on"}, {"powerOff", "off"}, {"reboot", "reboot"}};
    for (const auto& [client, framework] : words) {
        CmdRequest write = power(std::string(R"({"AccessToken":"t","power":")") + client + "\"}");
        const fakedynf::Property property = helpertest::sentOne(m_helper, write);
        EXPECT_EQ("powerValue", property.name) << client;
        EXPECT_EQ(framework, property.text) << client;
        CmdRequest read = helpertest::handled(m_helper, power("{}"), DYNF_ERROR_NONE,
                                              helpertest::stringAnswer("powerValue", framework));
        EXPECT_EQ(client, read.result["power"].asString()) << framework;
    }
}

TEST_F(PowerControlHelperTest, OtherWordsAreRefusedAsStrange) {
    // Left for the handler to fail as a refused start; no error of the params' kind.
    for (const char* params : {R"({"power":"on"})", R"({"power":"PowerOn"})", R"({"power":1})",
                               R"({"level":"powerOn"})"}) {
        CmdRequest request = power(params);
        EXPECT_TRUE(helpertest::sent(m_helper, request).empty()) << params;
        EXPECT_FALSE(request.bJsonRpcError) << params;
    }
}

TEST_F(PowerControlHelperTest, UnknownOrMissingFrameworkWordIsNotAPowerState) {
    for (const char* word : {"standby", "powerOn"}) {
        CmdRequest read = helpertest::handled(m_helper, power("{}"), DYNF_ERROR_NONE,
                                              helpertest::stringAnswer("powerValue", word));
        EXPECT_FALSE(read.bJsonRpcError) << word;
        EXPECT_EQ(JsonValue::Create("{}"), read.result) << word;
    }
    CmdRequest missing = helpertest::handled(m_helper, power("{}"), DYNF_ERROR_NONE,
                                             helpertest::stringAnswer("volume", "3"));
    helpertest::expectError(missing, SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_UNKNOWN);
}

}  // namespace
