// The shared helper steps: the framework error table, the builders' reading of params of every
// kind, and the reader of JSON string arrays.
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "System/ControlHelperBase.h"
#include "System/HelperTestSupport.h"

using namespace helpertest;

namespace {

// Opens the protected steps to the tests.
class ProbeHelper : public ControlHelperBase {
public:
    using ControlHelperBase::getPropertyDataInternalInt;
    using ControlHelperBase::getPropertyDataInternalString;
    using ControlHelperBase::handleJsonStringArrayResult;
};

TEST(ControlHelperBaseTest, FrameworkErrorsMapToTheirErrorObjects) {
    const std::pair<dynf_error, Failure> rows[] = {
        {DYNF_ERROR_UNKNOWN, kMissing},
        {DYNF_ERROR_NOT_AVAILABLE, kMissing},
        {DYNF_ERROR_INVALID_VALUE, kInvalid},
        {DYNF_ERROR_MALFORMED_REQUEST, {INVALID_REQUEST, DEVICE_MANAGER_ERROR_INVALID_OPERATION}},
        {DYNF_ERROR_NONE, kNotSupported},
        {DYNF_ERROR_NOT_SUPPORTED, kNotSupported},
        {-1, kNotSupported},
    };
    for (const auto& [error, failure] : rows) {
        SCOPED_TRACE(error);
        CmdRequest request = command(BACKLIGHT_CONTROL, "{}");
        ControlHelperBase::handleError(error, &request);
        expectFailure(request, failure);
    }
}

// Integers are JSON integers or text as the C library's decimal conversion reads it; strings
// take scalars in their JSON spelling. What cannot be used builds nothing and records nothing,
// so the handler fails the write; params stay exactly as they came.
TEST(ControlHelperBaseTest, BuildersReadParamsOfEveryKind) {
    const struct {
        bool isString;
        const char* params;
        const char* sent;  // null: nothing built
    } cases[] = {
        {false, R"({"AccessToken":"t","v":12})", "12"},
        {false, R"({"v":"13abc"})", "13"},
        {false, R"({"v":" 14"})", "14"},
        {false, R"({"v":"-3"})", "-3"},
        {false, R"({"v":"0x10"})", "0"},
        {false, R"({"v":2147483647})", "2147483647"},
        {false, R"({"AccessToken":"t"})", "0"},
        {false, "null", "0"},
        {false, R"({"v":"abc"})", nullptr},
        {false, R"({"v":""})", nullptr},
        {false, R"({"v":15.0})", nullptr},
        {false, R"({"v":true})", nullptr},
        {false, R"({"v":[12]})", nullptr},
        {false, R"({"other":1})", nullptr},
        {false, R"({"v":2147483648})", nullptr},
        {false, R"({"v":"-99999999999"})", nullptr},
        {false, R"({"v":1e300})", nullptr},
        {true, R"({"v":"Movie"})", R"("Movie")"},
        {true, R"({"v":5})", R"("5")"},
        {true, R"({"v":true})", R"("true")"},
        {true, R"({"other":1})", R"("")"},
        {true, R"({"AccessToken":"t"})", R"("")"},
        {true, R"({"v":{"a":1}})", nullptr},
        {true, R"({"v":["Movie"]})", nullptr},
    };
    ProbeHelper helper;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.params);
        CmdRequest request = command(BACKLIGHT_CONTROL, c.params);
        List list(c.isString ? helper.getPropertyDataInternalString(&request, "v", "p")
                             : helper.getPropertyDataInternalInt(&request, "v", "p"));
        std::vector<fakedynf::Property> properties = fakedynf::describe(list.get());
        JsonValue built;
        if (properties.size() == 1) {
            built = c.isString ? JsonValue(properties[0].text) : JsonValue(properties[0].intValue);
        }
        EXPECT_EQ(c.sent != nullptr ? JsonValue::Create(c.sent) : JsonValue(), built);
        EXPECT_FALSE(request.bJsonRpcError);
        EXPECT_EQ(JsonValue::Create(c.params), request.params);
    }
}

TEST(ControlHelperBaseTest, JsonStringArrayIsStoredWithTranslationsOrNotAtAll) {
    ProbeHelper helper;
    CmdRequest request = command(BACKLIGHT_CONTROL, "{}");
    List list = answer(R"({"sources":["HDMI1","TV","HDMI2"]})");
    EXPECT_TRUE(helper.handleJsonStringArrayResult(list.get(), "sources", "inputs", &request,
                                                   {{"HDMI1", "HDMI 1"}}));
    EXPECT_EQ(JsonValue::Create(R"({"inputs":["HDMI 1","TV","HDMI2"]})"), request.result);
    for (const char* text :
         {R"({"sources":"not json"})", R"({"sources":{"a":1}})", R"({"sources":["a",1]})"}) {
        CmdRequest other = command(BACKLIGHT_CONTROL, "{}");
        EXPECT_FALSE(
            helper.handleJsonStringArrayResult(answer(text).get(), "sources", "inputs", &other, {}))
            << text;
        EXPECT_TRUE(other.result.isNull()) << text;
        EXPECT_FALSE(other.bJsonRpcError) << text;
    }
}

}  // namespace
