// Source control: the input source vocabulary, the extended source, the USB list and choice.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "System/HelperTestSupport.h"
#include "System/SourceControlHelper.h"
#include "support/PlatformTest.h"

using common::json::JsonValue;
using helpertest::answer;
using helpertest::command;
using helpertest::List;

namespace {

class SourceControlHelperTest : public testsupport::PlatformTest {
protected:
    static CmdRequest input(const std::string& params) {
        return command(INPUT_SOURCE_CONTROL, "inputSourceControl", params);
    }
    static CmdRequest usb(const std::string& params = R"({"AccessToken":"t"})") {
        return command(USB_SOURCE_CONTROL, "USBSourceControl", params);
    }

    // The result of an input source read that the framework answers with both properties.
    CmdRequest readInput(const std::string& inputSource, const std::string& extendedSource) {
        return handled(
            input("{}"),
            answer({dynf_property_create_string("inputSource", inputSource.c_str()),
                    dynf_property_create_string("extendedSource", extendedSource.c_str())}));
    }

    // The result of a USB list read that the framework answers with text.
    CmdRequest readUsb(const std::string& text) {
        return handled(usb(), answer({dynf_property_create_json_string(
                                  "connectedExtendedSourceList", text.c_str())}));
    }

    CmdRequest handled(CmdRequest request, List result, dynf_error error = DYNF_ERROR_NONE) {
        return helpertest::handled(m_helper, std::move(request), error, std::move(result));
    }

    SourceControlHelper m_helper;
};

TEST_F(SourceControlHelperTest, WriteFollowsTheVocabulary) {
    const struct {
        const char* client;
        const char* property;
        const char* value;
    } rows[] = {
        {"TV", "inputSource", "dtv"},
        {"HDMI2", "inputSource", "HDMI2"},
        {"Component", "extendedSource", "Component"},
    };
    for (const auto& row : rows) {
        CmdRequest request = input(std::string(R"({"inputSource":")") + row.client + "\"}");
        fakedynf::Property property = helpertest::sentOne(m_helper, request);
        EXPECT_EQ(row.property, property.name) << row.client;
        EXPECT_EQ(DYNF_PROPERTY_STRING, property.type) << row.client;
        EXPECT_EQ(row.value, property.text) << row.client;
    }
}

TEST_F(SourceControlHelperTest, UsbAsInputSourceIsRefused) {
    CmdRequest request = input(R"({"AccessToken":"t","inputSource":"USB"})");
    EXPECT_TRUE(helpertest::sent(m_helper, request).empty());
    EXPECT_FALSE(request.bJsonRpcError);  // the handler fails it as a refused start
}

TEST_F(SourceControlHelperTest, ReadAnswersTheClientWord) {
    EXPECT_EQ(JsonValue::Create(R"({"inputSource":"TV"})"), readInput("dtv", "").result);
    EXPECT_EQ(JsonValue::Create(R"({"inputSource":"HDMI1"})"), readInput("HDMI1", "").result);
    EXPECT_EQ(JsonValue::Create("{}"), readInput("", "").result);
}

TEST_F(SourceControlHelperTest, ExtendedSourceWinsOverTheInputSource) {
    CmdRequest request = readInput("dtv", "Component");
    EXPECT_FALSE(request.bJsonRpcError);
    EXPECT_EQ(JsonValue::Create(R"({"inputSource":"Component"})"), request.result);
}

TEST_F(SourceControlHelperTest, MissingSourcePropertyFailsTheRead) {
    helpertest::expectError(handled(input("{}"), helpertest::stringAnswer("inputSource", "dtv")),
                            SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_UNKNOWN);
    helpertest::expectError(handled(input("{}"), helpertest::stringAnswer("extendedSource", "")),
                            SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_UNKNOWN);
}

TEST_F(SourceControlHelperTest, UsbChoiceWithoutBothFieldsIsRefused) {
    for (const char* params : {R"({"deviceName":"Stick"})", R"({"deviceId":"usb1"})",
                               R"({"deviceName":"","deviceId":"usb1"})"}) {
        CmdRequest request = usb(params);
        EXPECT_TRUE(helpertest::sent(m_helper, request).empty()) << params;
        EXPECT_FALSE(request.bJsonRpcError) << params;
    }
}

TEST_F(SourceControlHelperTest, UsbListIsRebuiltForTheClient) {
    CmdRequest request = readUsb(
        R"([{"name":"Stick","id":"usb1","uniqueKey":"k1","errorCode":0,"unavailable":false},)"
        R"({"name":"Disk","id":"usb2","errorCode":3,"unavailable":false},)"
        R"({"name":"Old","id":"usb3","unavailable":true},"skipped"])");
    EXPECT_FALSE(request.bJsonRpcError);
    EXPECT_EQ(
        JsonValue::Create(
            R"([{"deviceName":"Stick","deviceId":"usb1","source":"USB","available":true,"errorCode":0},)"
            R"({"deviceName":"Disk","deviceId":"usb2","source":"USB","available":false,"errorCode":3},)"
            R"({"deviceName":"Old","deviceId":"usb3","source":"USB","available":false,"errorCode":0}])"),
        request.result);
}

TEST_F(SourceControlHelperTest, EmptyOrRefusedUsbListAnswersAnEmptyArray) {
    EXPECT_EQ(JsonValue::Create("[]"), readUsb("[]").result);
    CmdRequest refused = handled(usb(), nullptr, DYNF_ERROR_NOT_SUPPORTED);
    EXPECT_FALSE(refused.bJsonRpcError);
    EXPECT_EQ(JsonValue::Create("[]"), refused.result);
}

TEST_F(SourceControlHelperTest, UnreadableUsbListFailsTheRead) {
    for (const char* text : {"[{", R"({"name":"Stick"})"}) {
        CmdRequest request = readUsb(text);
        helpertest::expectError(request, SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_UNKNOWN);
    }
    helpertest::expectError(handled(usb(), helpertest::stringAnswer("inputSource", "dtv")),
                            SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_UNKNOWN);
}

}  // namespace
