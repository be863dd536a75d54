// The shared helper steps: the framework error table, the write echo, the builders' reading of
// params of every kind, the result readers and the usage event.
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "Manager/CmdRequest.h"
#include "System/ControlHelperBase.h"
#include "System/FakeDynf.h"
#include "support/PlatformFixture.h"
#include "dlog.h"

using common::json::JsonValue;

namespace {

using List = std::unique_ptr<dynf_property_list_s, fakedynf::ListDeleter>;

// Opens the protected steps to the tests.
class ProbeHelper : public ControlHelperBase {
public:
    using ControlHelperBase::_allowErrorCase;
    using ControlHelperBase::addPropertyDataInternalInt;
    using ControlHelperBase::getPropertyDataInternalInt;
    using ControlHelperBase::getPropertyDataInternalString;
    using ControlHelperBase::getPropertyHandle;
    using ControlHelperBase::handleJsonStringArrayResult;
    using ControlHelperBase::sendKPILog;
};

CmdRequest command(const std::string& params, DYNF_TVCONTROL_PROP_TYPE type = BACKLIGHT_CONTROL,
                   const std::string& method = "backlightControl") {
    CmdRequest request;
    request.method = method;
    request.params = JsonValue::Create(params);
    request.propType = type;
    return request;
}

void expectError(const CmdRequest& request, eJSONRPCErrorCode index, _DeviceManagerError code) {
    EXPECT_TRUE(request.bJsonRpcError);
    EXPECT_EQ(index, request.errorIndex);
    EXPECT_EQ(code, request.resultCode);
}

struct ErrorRow {
    dynf_error error;
    eJSONRPCErrorCode index;
    _DeviceManagerError code;
};

class HandleErrorTest : public ::testing::TestWithParam<ErrorRow> {};

TEST_P(HandleErrorTest, MapsTheFrameworkError) {
    CmdRequest request = command("{}");
    ControlHelperBase::handleError(GetParam().error, &request);
    expectError(request, GetParam().index, GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(
    Table, HandleErrorTest,
    ::testing::Values(ErrorRow{1, SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_UNKNOWN},
                      ErrorRow{4, INVALID_PARAMS, DEVICE_MANAGER_ERROR_INVALID_OPERATION},
                      ErrorRow{5, INVALID_REQUEST, DEVICE_MANAGER_ERROR_INVALID_OPERATION},
                      ErrorRow{0, SERVER_ERROR_INVALID_OPERATION, DEVICE_MANAGER_ERROR_FAILED},
                      ErrorRow{-1, SERVER_ERROR_INVALID_OPERATION, DEVICE_MANAGER_ERROR_FAILED}),
    [](const ::testing::TestParamInfo<ErrorRow>& info) {
        const int error = info.param.error;
        return error < 0 ? "Negative" : "Error" + std::to_string(error);
    });

class ControlHelperBaseTest : public ::testing::Test {
protected:
    // The single property a builder made; fails the test when there is not exactly one.
    static fakedynf::Property only(const List& list) {
        std::vector<fakedynf::Property> properties = fakedynf::describe(list.get());
        EXPECT_EQ(1u, properties.size());
        return properties.empty() ? fakedynf::Property() : properties[0];
    }

    ProbeHelper m_helper;
};

TEST_F(ControlHelperBaseTest, WriteIsAnsweredWithItsParamsWithoutToken) {
    CmdRequest request = command(R"({"AccessToken":"t","backlight":"12","extra":[1]})");
    EXPECT_FALSE(m_helper.preHandleResult(DYNF_ERROR_NONE, &request));
    EXPECT_EQ(JsonValue::Create(R"({"backlight":"12","extra":[1]})"), request.result);
    EXPECT_FALSE(request.bJsonRpcError);
}

TEST_F(ControlHelperBaseTest, RefusedErrorIsRecordedForReadsAndWrites) {
    CmdRequest read = command(R"({"AccessToken":"t"})");
    EXPECT_FALSE(m_helper.preHandleResult(DYNF_ERROR_INVALID_VALUE, &read));
    expectError(read, INVALID_PARAMS, DEVICE_MANAGER_ERROR_INVALID_OPERATION);
    CmdRequest write = command(R"({"backlight":1})");
    EXPECT_FALSE(m_helper.preHandleResult(DYNF_ERROR_MALFORMED_REQUEST, &write));
    expectError(write, INVALID_REQUEST, DEVICE_MANAGER_ERROR_INVALID_OPERATION);
    EXPECT_TRUE(write.result.isNull());
}

TEST_F(ControlHelperBaseTest, UsbAndExternalSpeakerReadsPassEveryError) {
    for (DYNF_TVCONTROL_PROP_TYPE type : {USB_SOURCE_CONTROL, EXTERNAL_SPEAKER_CONTROL}) {
        CmdRequest read = command(R"({"AccessToken":"t"})", type);
        EXPECT_TRUE(ProbeHelper::_allowErrorCase(DYNF_ERROR_UNKNOWN, &read)) << type;
        CmdRequest write = command(R"({"speaker":"on"})", type);
        EXPECT_FALSE(ProbeHelper::_allowErrorCase(DYNF_ERROR_UNKNOWN, &write)) << type;
        EXPECT_TRUE(ProbeHelper::_allowErrorCase(DYNF_ERROR_NONE, &write)) << type;
    }
    CmdRequest other = command("{}", POWER_CONTROL);
    EXPECT_FALSE(ProbeHelper::_allowErrorCase(DYNF_ERROR_NOT_SUPPORTED, &other));
}

TEST_F(ControlHelperBaseTest, IntBuilderReadsTextAsTheCLibraryDoes) {
    const std::pair<const char*, int> cases[] = {
        {R"({"AccessToken":"t","v":12})", 12},
        {R"({"v":"13abc"})", 13},
        {R"({"v":" 14"})", 14},
        {R"({"v":"-3"})", -3},
        {R"({"v":"0x10"})", 0},
        {R"({"v":2147483647})", 2147483647},
        {R"({"AccessToken":"t"})", 0},
        {"null", 0},
    };
    for (const auto& [params, value] : cases) {
        CmdRequest request = command(params);
        List list(m_helper.getPropertyDataInternalInt(&request, "v", "backlight"));
        ASSERT_NE(nullptr, list) << params;
        fakedynf::Property property = only(list);
        EXPECT_EQ("backlight", property.name);
        EXPECT_EQ(DYNF_PROPERTY_INT, property.type);
        EXPECT_EQ(value, property.intValue) << params;
        EXPECT_FALSE(request.bJsonRpcError) << params;
    }
}

// What cannot be used builds nothing and records nothing, so the handler fails the write; the
// params are left exactly as they came, since a write's answer is made from them.
TEST_F(ControlHelperBaseTest, UnusableValuesBuildNothingAndLeaveParamsAlone) {
    for (const char* params :
         {R"({"v":"abc"})", R"({"v":""})", R"({"v":15.0})", R"({"v":1.5})", R"({"v":true})",
          R"({"v":null})", R"({"v":{}})", R"({"v":[12]})", R"({"other":1})", R"({"v":2147483648})",
          R"({"v":"-99999999999"})", R"({"v":1e300})"}) {
        CmdRequest request = command(params);
        EXPECT_EQ(nullptr, m_helper.getPropertyDataInternalInt(&request, "v", "backlight"))
            << params;
        EXPECT_FALSE(request.bJsonRpcError) << params;
        EXPECT_EQ(JsonValue::Create(params), request.params) << params;
    }
    for (const char* params : {R"({"mode":{"a":1}})", R"({"mode":["Movie"]})"}) {
        CmdRequest request = command(params);
        EXPECT_EQ(nullptr, m_helper.getPropertyDataInternalString(&request, "mode", "pictureMode"))
            << params;
        EXPECT_FALSE(request.bJsonRpcError) << params;
    }
}

TEST_F(ControlHelperBaseTest, StringBuilderTakesScalars) {
    const std::pair<const char*, const char*> cases[] = {
        {R"({"mode":"Movie"})", "Movie"}, {R"({"mode":5})", "5"},
        {R"({"mode":true})", "true"},     {R"({"other":1})", ""},
        {R"({"AccessToken":"t"})", ""},
    };
    for (const auto& [params, value] : cases) {
        CmdRequest request = command(params);
        List list(m_helper.getPropertyDataInternalString(&request, "mode", "pictureMode"));
        ASSERT_NE(nullptr, list) << params;
        EXPECT_EQ(DYNF_PROPERTY_STRING, only(list).type);
        EXPECT_EQ(value, only(list).text) << params;
        EXPECT_EQ(JsonValue::Create(params), request.params) << params;
    }
}

TEST_F(ControlHelperBaseTest, JsonStringArrayIsStoredWithTranslations) {
    CmdRequest request = command("{}");
    List list(fakedynf::stringList("sources", R"(["HDMI1","TV","HDMI2"])"));
    EXPECT_TRUE(m_helper.handleJsonStringArrayResult(list.get(), "sources", "inputs", &request,
                                                     {{"HDMI1", "HDMI 1"}}));
    EXPECT_EQ(JsonValue::Create(R"({"inputs":["HDMI 1","TV","HDMI2"]})"), request.result);
}

TEST_F(ControlHelperBaseTest, JsonStringArrayLeavesTheResultWhenNotAnArrayOfStrings) {
    for (const char* text : {"not json", R"({"a":1})", R"(["a",1])"}) {
        CmdRequest request = command("{}");
        List list(fakedynf::stringList("sources", text));
        EXPECT_FALSE(
            m_helper.handleJsonStringArrayResult(list.get(), "sources", "inputs", &request, {}))
            << text;
        EXPECT_TRUE(request.result.isNull()) << text;
        EXPECT_FALSE(request.bJsonRpcError) << text;
    }
}

TEST_F(ControlHelperBaseTest, ReadThatNoHelperParsesFails) {
    CmdRequest request = command(R"({"AccessToken":"t"})");
    List list(fakedynf::stringList("backlight", "3"));
    m_helper.handleResult(DYNF_ERROR_NONE, list.get(), &request);
    expectError(request, SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_FAILED);
}

TEST(ControlHelperKPITest, CommandEventNamesTheWrite) {
    testsupport::TempDir dir;
    std::string error;
    ASSERT_TRUE(
        testsupport::startPlatform(dir, testsupport::makeProfile("\"product.tv_year\": 23"), error))
        << error;
    CmdRequest request =
        command(R"({"AccessToken":"t","power":"powerOff"})", POWER_CONTROL, "powerControl");
    ProbeHelper().sendKPILog("power", "powerOff", &request);
    ipc_platform::shutdown();
    dlog_flush();  // the log's thread writes the event
    JsonValue event = JsonValue::Create(testsupport::readFile(dir.file("kpi.log")));
    EXPECT_EQ("23_ip_control", event["kpiName"].asString());
    EXPECT_EQ("COMMAND", event["eventName"].asString());
    EXPECT_EQ("EV002", event["eventId"].asString());
    EXPECT_EQ("{svn=ipcontrol;cm=set;rn=powerControl;pn=power;pv=powerOff}",
              event["description"].asString());
}

}  // namespace
