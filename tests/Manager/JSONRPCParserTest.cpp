// JSON-RPC requests as clients send them, and the exact response texts they get back.
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

TEST(JSONRPCParserParse, RefusesWhatIsNotASingleVersionTwoRequest) {
    const char* const refused[] = {
        "",
        " {\"jsonrpc\":\"2.0\"}",  // leading blank is dirty data
        "null",
        "{\"jsonrpc\":2.0}",  // a number, not the text "2.0"
        "{\"jsonrpc\":\"1.0\",\"method\":\"powerControl\"}",
        "{\"method\":\"powerControl\"}",
        "{\"jsonrpc\":{\"v\":\"2.0\"}}",
        "[{\"jsonrpc\":\"2.0\",\"method\":\"powerControl\",\"id\":1}]",  // batch
        "[]",
        "{\"jsonrpc\":\"2.0\"",  // truncated
        "{\"jsonrpc\":\"2.0\"} trailing",
    };
    for (const char* text : refused) {
        JSONRPCParser parser;
        EXPECT_FALSE(parser.parse(text)) << "accepted: " << text;
    }
}

TEST(JSONRPCParserParse, AcceptsRequestWithoutMethodAndId) {
    JSONRPCParser parser = parsed("{\"jsonrpc\":\"2.0\"}");
    std::string method = "x", id = "x";
    EXPECT_FALSE(parser.getMethodName(method));
    EXPECT_EQ("", method);
    EXPECT_FALSE(parser.getJsonID(id));
    EXPECT_EQ("", id);
}

TEST(JSONRPCParserFields, IdIsAlwaysText) {
    std::string id;
    EXPECT_TRUE(parsed("{\"jsonrpc\":\"2.0\",\"id\":12}").getJsonID(id));
    EXPECT_EQ("12", id);
    EXPECT_TRUE(parsed("{\"jsonrpc\":\"2.0\",\"id\":\"abc\"}").getJsonID(id));
    EXPECT_EQ("abc", id);
    // An id that cannot be text is treated as missing, not thrown.
    EXPECT_FALSE(parsed("{\"jsonrpc\":\"2.0\",\"id\":{\"a\":1}}").getJsonID(id));
}

TEST(JSONRPCParserFields, AccessTokenComesFromParams) {
    std::string token;
    EXPECT_TRUE(parsed(R"({"jsonrpc":"2.0","params":{"volume":5,"AccessToken":"tok"}})")
                    .getAccessToken(token));
    EXPECT_EQ("tok", token);

    const char* const without[] = {
        R"({"jsonrpc":"2.0"})",
        R"({"jsonrpc":"2.0","params":{}})",
        R"({"jsonrpc":"2.0","params":{"volume":5}})",
        R"({"jsonrpc":"2.0","params":["AccessToken"]})",
        R"({"jsonrpc":"2.0","params":"AccessToken"})",
    };
    for (const char* text : without) {
        std::string none;
        EXPECT_FALSE(parsed(text).getAccessToken(none)) << text;
    }
}

TEST(JSONRPCParserFields, TokenIsNeverAParameter) {
    EXPECT_FALSE(parsed(R"({"jsonrpc":"2.0","params":{"AccessToken":"t"}})").hasParams());
    EXPECT_FALSE(parsed(R"({"jsonrpc":"2.0"})").hasParams());
    JSONRPCParser parser = parsed(R"({"jsonrpc":"2.0","params":{"AccessToken":"t","volume":7,
                                      "mute":"muteOn"}})");
    EXPECT_TRUE(parser.hasParams());
    std::map<std::string, std::string> params;
    EXPECT_TRUE(parser.getParams(params));
    EXPECT_EQ((std::map<std::string, std::string>{{"mute", "muteOn"}, {"volume", "7"}}), params);
}

TEST(JSONRPCParserFields, ParamsThatCannotBeTextAreRefusedWithoutThrowing) {
    JSONRPCParser parser = parsed(R"({"jsonrpc":"2.0","params":{"list":[1,2]}})");
    std::map<std::string, std::string> params;
    EXPECT_FALSE(parser.getParams(params));
}

TEST(JSONRPCParserResponse, SetRequestIsAnsweredWithItsParamsWithoutToken) {
    JSONRPCParser parser = parsed(R"({"jsonrpc":"2.0","id":7,"method":"powerControl",
                   "params":{"AccessToken":"secret","power":"powerOff"}})");
    EXPECT_EQ(R"({"jsonrpc":"2.0","id":"7","result":{"power":"powerOff"}})",
              parser.buildResponse("", true));
}

TEST(JSONRPCParserResponse, ErrorTextBecomesTheErrorObject) {
    JSONRPCParser parser = parsed(R"({"jsonrpc":"2.0","method":"x"})");
    EXPECT_EQ(R"({"jsonrpc":"2.0","id":"","error":{"code":-32700,"message":"Parse error"}})",
              parser.buildResponse(JSONRPCParser::getJsonErrorMessage(PARSE_ERROR), false));
}

TEST(JSONRPCParserResponse, GetResponseCarriesCopiedParamsOrNoResult) {
    JSONRPCParser parser = parsed(R"({"jsonrpc":"2.0","id":"a","method":"createAccessToken"})");
    std::string method;
    parser.getMethodName(method);
    EXPECT_EQ(R"({"jsonrpc":"2.0","id":"a"})", parser.buildResponse("", false));
    EXPECT_TRUE(parser.setCopiedParams(std::string(R"({"AccessToken":"T"})")));
    EXPECT_EQ(R"({"jsonrpc":"2.0","id":"a","result":{"AccessToken":"T"}})",
              parser.buildResponse("", false));
    EXPECT_FALSE(parser.setCopiedParams(std::string("not json")));
}

TEST(JSONRPCParserResponse, CopiedPairsBecomeAnObjectOfStrings) {
    JSONRPCParser parser = parsed(R"({"jsonrpc":"2.0","id":1,"method":"powerControl"})");
    std::string method;
    parser.getMethodName(method);
    std::map<std::string, std::string> pairs = {{"power", "powerOn"}, {"quote", "a\"b"}};
    ASSERT_TRUE(parser.setCopiedParams(pairs));
    EXPECT_EQ(R"({"jsonrpc":"2.0","id":"1","result":{"power":"powerOn","quote":"a\"b"}})",
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
    JSONRPCParser parser;
    JsonValue result = JsonValue::Create(R"({"volume":10})");
    EXPECT_EQ(R"({"jsonrpc":"2.0","id":"3","result":{"volume":10}})",
              parser.buildResponse("3", result, ""));
    EXPECT_EQ(R"({"jsonrpc":"2.0","id":"3"})", parser.buildResponse("3", JsonValue(), ""));
    EXPECT_EQ(
        R"({"jsonrpc":"2.0","id":"3","error":{"code":-32601,"message":"Method not found"}})",
        parser.buildResponse("3", result, JSONRPCParser::getJsonErrorMessage(METHOD_NOT_FOUND)));
}

TEST(JSONRPCParserErrors, TableRowsAreValidObjectsWithTheirCodes) {
    const long long codes[] = {-32700, -32000, -32001, -32002, -32003, -32004,
                               -32010, -32011, -32600, -32601, -32602, -32603};
    for (int row = 0; row < JSONRPC_ERROR_COUNT; ++row) {
        std::string text = JSONRPCParser::getJsonErrorMessage(static_cast<eJSONRPCErrorCode>(row));
        JsonValue error = JsonValue::Create(text);
        ASSERT_FALSE(error.isNull()) << text;
        EXPECT_EQ(codes[row], error["code"].asInt64()) << text;
    }
    // These two are matched byte for byte by clients.
    EXPECT_EQ("{\"code\": -32700, \"message\": \"Parse error\"}",
              JSONRPCParser::getJsonErrorMessage(PARSE_ERROR));
    EXPECT_EQ("{\"code\": -32010, \"message\": \"Unauthorized access\"}",
              JSONRPCParser::getJsonErrorMessage(UNAUTHORIZED_ACCESS));
}

TEST(JSONRPCParserErrors, DeviceResultCodesMapToTableRows) {
    EXPECT_EQ("", JSONRPCParser::getResultMessage(DEVICE_MANAGER_SUCCESS));
    EXPECT_EQ(JSONRPCParser::getJsonErrorMessage(SERVER_ERROR_UNKNOWN),
              JSONRPCParser::getResultMessage(DEVICE_MANAGER_ERROR_UNKNOWN));
    EXPECT_EQ(JSONRPCParser::getJsonErrorMessage(SERVER_ERROR_FAILED),
              JSONRPCParser::getResultMessage(DEVICE_MANAGER_ERROR_FAILED));
    EXPECT_EQ(JSONRPCParser::getJsonErrorMessage(SERVER_ERROR_INVALID_OPERATION),
              JSONRPCParser::getResultMessage(DEVICE_MANAGER_ERROR_INVALID_OPERATION));
    // Method not found is the -32601 row, not a server error.
    EXPECT_EQ(JSONRPCParser::getJsonErrorMessage(METHOD_NOT_FOUND),
              JSONRPCParser::getResultMessage(DEVICE_MANAGER_ERROR_METHOD_NOT_FOUND));
    EXPECT_EQ("", JSONRPCParser::getResultMessage(static_cast<_DeviceManagerError>(6)));
}

}  // namespace
