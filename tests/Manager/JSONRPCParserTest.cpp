// JSON-RPC request fields and the exact response texts built from them. Refusals are checked
// where clients see them, in the service manager's tests.
#include <gtest/gtest.h>

#include "JsonValue.h"
#include "Manager/JSONRPCParser.h"

using common::json::JsonValue;

namespace {

JSONRPCParser parsed(const std::string& text) {
    JSONRPCParser parser;
    EXPECT_TRUE(parser.parse(text)) << text;
    return parser;
}

TEST(JSONRPCParserFields, TokenIsNeverAParameterAndNonTextFieldsAreMissing) {
    EXPECT_FALSE(parsed(R"({"jsonrpc":"2.0","params":{"AccessToken":"t"}})").hasParams());
    EXPECT_FALSE(parsed(R"({"jsonrpc":"2.0"})").hasParams());
    JSONRPCParser parser = parsed(R"({"jsonrpc":"2.0","params":{"AccessToken":"t","volume":7,
                                      "mute":"muteOn"}})");
    EXPECT_TRUE(parser.hasParams());
    std::map<std::string, std::string> params;
    EXPECT_TRUE(parser.getParams(params));
    EXPECT_EQ((std::map<std::string, std::string>{{"mute", "muteOn"}, {"volume", "7"}}), params);

    std::string id = "x";
    EXPECT_FALSE(parsed("{\"jsonrpc\":\"2.0\",\"id\":{\"a\":1}}").getJsonID(id));
    EXPECT_FALSE(parsed(R"({"jsonrpc":"2.0","params":{"list":[1,2]}})").getParams(params));
}

TEST(JSONRPCParserResponse, SetRequestIsAnsweredWithItsParamsWithoutToken) {
    JSONRPCParser parser = parsed(R"({"jsonrpc":"2.0","id":7,"method":"powerControl",
                   "params":{"AccessToken":"secret","power":"powerOff"}})");
    EXPECT_EQ(R"({"jsonrpc":"2.0","id":"7","result":{"power":"powerOff"}})",
              parser.buildResponse("", true));
}

TEST(JSONRPCParserResponse, GetResponseCarriesCopiedParamsOrNoResult) {
    JSONRPCParser parser = parsed(R"({"jsonrpc":"2.0","id":"a","method":"createAccessToken"})");
    std::string method;
    parser.getMethodName(method);
    // The issued token's answer is checked in the service manager's tests.
    EXPECT_EQ(R"({"jsonrpc":"2.0","id":"a"})", parser.buildResponse("", false));
    EXPECT_FALSE(parser.setCopiedParams(std::string("not json")));

    std::map<std::string, std::string> pairs = {{"power", "powerOn"}, {"quote", "a\"b"}};
    ASSERT_TRUE(parser.setCopiedParams(pairs));
    EXPECT_EQ(R"({"jsonrpc":"2.0","id":"a","result":{"power":"powerOn","quote":"a\"b"}})",
              parser.buildResponse("", false));
}

TEST(JSONRPCParserResponse, DeviceListsStopAtFirstEmptyEntry) {
    JSONRPCParser parser = parsed(R"({"jsonrpc":"2.0","id":1,"method":"USBSourceControl"})");
    std::string method;
    parser.getMethodName(method);
    ASSERT_TRUE(parser.isDeviceControl());
    std::map<std::string, std::string> devices = {{"1", "Stick"}, {"2", ""}, {"3", "Disk"}};
    ASSERT_TRUE(parser.setCopiedParams(devices));
    EXPECT_EQ(R"({"jsonrpc":"2.0","id":"1","result":[{"deviceName":"Stick","deviceId":"1"}]})",
              parser.buildResponse("", false));
}

TEST(JSONRPCParserResponse, FinishedCommandResponseForms) {
    // The result and error forms are checked where clients see them, in the service manager's
    // tests.
    JSONRPCParser parser;
    EXPECT_EQ(R"({"jsonrpc":"2.0","id":"3"})", parser.buildResponse("3", JsonValue(), ""));

    // Byte for byte what the JSON library writes for the whole object, whatever the id and
    // result hold.
    const JsonValue results[] = {
        JsonValue::Create(R"({"a":[1,2.5,true,null,"x\"y"],"b":{"c":"\u00e9\u0001\t"}})"),
        JsonValue::Create("[]"), JsonValue(false), JsonValue("line\nbreak")};
    for (const std::string id : {"3", "a\"b\\c", "\u00e9\u0007", ""}) {
        for (const JsonValue& value : results) {
            JsonValue whole(common::json::JsonType::objectValue);
            whole["jsonrpc"] = "2.0";
            whole["id"] = id;
            whole["result"] = value;
            EXPECT_EQ(whole.toString(false), parser.buildResponse(id, value, ""));
        }
    }
}

}  // namespace
