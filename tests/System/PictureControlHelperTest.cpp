// Picture control: the properties built per method, "getVideoStates" and the answers' keys.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "System/HelperTestSupport.h"
#include "System/PictureControlHelper.h"
#include "support/PlatformTest.h"

using common::json::JsonValue;
using helpertest::answer;
using helpertest::command;
using helpertest::List;

namespace {

struct PictureMethod {
    DYNF_TVCONTROL_PROP_TYPE type;
    const char* method;
    const char* key;
    const char* property;
    dynf_property_type_e kind;
};

const PictureMethod kMethods[] = {
    {PICTURE_MODE_CONTROL, "pictureModeControl", "pictureMode", "pictureMode",
     DYNF_PROPERTY_STRING},
    {CONTRAST_CONTROL, "contrastControl", "contrast", "contrast", DYNF_PROPERTY_INT},
    {BRIGHTNESS_CONTROL, "brightnessControl", "brightness", "brightness", DYNF_PROPERTY_INT},
    {SHARPNESS_CONTROL, "sharpnessControl", "sharpness", "sharpness", DYNF_PROPERTY_INT},
    {COLOR_CONTROL, "colorControl", "color", "color", DYNF_PROPERTY_INT},
    {TINT_CONTROL, "tintControl", "tint", "tint", DYNF_PROPERTY_INT},
    {PICTURE_SIZE_CONTROL, "pictureSizeControl", "pictureSize", "pictureSizeIPControl",
     DYNF_PROPERTY_STRING},
};

class PictureControlHelperTest : public testsupport::PlatformTest {
protected:
    static CmdRequest video() {
        return command(GET_VIDEO_STATES, "getVideoStates", R"({"AccessToken":"t"})");
    }

    CmdRequest handled(CmdRequest request, List result) {
        return helpertest::handled(m_helper, request, DYNF_ERROR_NONE, std::move(result));
    }

    PictureControlHelper m_helper;
};

TEST_F(PictureControlHelperTest, ReadAsksForTheMethodsPropertyWithAPlaceholder) {
    for (const PictureMethod& m : kMethods) {
        CmdRequest request = command(m.type, m.method, R"({"AccessToken":"t"})");
        fakedynf::Property property = helpertest::sentOne(m_helper, request);
        EXPECT_EQ(m.property, property.name) << m.method;
        EXPECT_EQ(m.kind, property.type) << m.method;
        EXPECT_EQ("", property.text) << m.method;
        EXPECT_EQ(0, property.intValue) << m.method;
    }
}

TEST_F(PictureControlHelperTest, PictureSizeTravelsAsPictureSizeIPControl) {
    CmdRequest request = command(PICTURE_SIZE_CONTROL, "pictureSizeControl",
                                 R"({"AccessToken":"t","pictureSize":"16:9"})");
    fakedynf::Property property = helpertest::sentOne(m_helper, request);
    EXPECT_EQ("pictureSizeIPControl", property.name);
    EXPECT_EQ("16:9", property.text);
}

TEST_F(PictureControlHelperTest, IntegerWriteTakesANumberOrDecimalText) {
    for (const char* params : {R"({"contrast":12})", R"({"contrast":"12"})"}) {
        CmdRequest request = command(CONTRAST_CONTROL, "contrastControl", params);
        fakedynf::Property property = helpertest::sentOne(m_helper, request);
        EXPECT_EQ("contrast", property.name) << params;
        EXPECT_EQ(DYNF_PROPERTY_INT, property.type) << params;
        EXPECT_EQ(12, property.intValue) << params;
    }
}

TEST_F(PictureControlHelperTest, NumberBeyondIntIsInvalidParams) {
    for (const char* params : {R"({"tint":3000000000})", R"({"tint":"ten"})", R"({"tint":[1]})"}) {
        CmdRequest request = command(TINT_CONTROL, "tintControl", params);
        EXPECT_TRUE(helpertest::sent(m_helper, request).empty()) << params;
        helpertest::expectError(request, INVALID_PARAMS, DEVICE_MANAGER_ERROR_INVALID_OPERATION);
    }
}

TEST_F(PictureControlHelperTest, VideoStatesAskForFiveIntegersInOneList) {
    CmdRequest request = video();
    std::vector<fakedynf::Property> properties = helpertest::sent(m_helper, request);
    const std::vector<std::string> expected = {"contrast", "sharpness", "brightness", "color",
                                               "tint"};
    ASSERT_EQ(expected.size(), properties.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(expected[i], properties[i].name);
        EXPECT_EQ(DYNF_PROPERTY_INT, properties[i].type);
    }
}

TEST_F(PictureControlHelperTest, OtherTypeBuildsNothing) {
    CmdRequest request = command(BACKLIGHT_CONTROL, "backlightControl", R"({"AccessToken":"t"})");
    EXPECT_TRUE(helpertest::sent(m_helper, request).empty());
}

TEST_F(PictureControlHelperTest, ReadAnswersUnderTheClientKey) {
    CmdRequest size = handled(command(PICTURE_SIZE_CONTROL, "pictureSizeControl", "{}"),
                              helpertest::stringAnswer("pictureSizeIPControl", "4:3"));
    EXPECT_EQ(JsonValue::Create(R"({"pictureSize":"4:3"})"), size.result);
    List contrast = answer({dynf_property_create_int("contrast", 45)});
    EXPECT_EQ(
        JsonValue::Create(R"({"contrast":45})"),
        handled(command(CONTRAST_CONTROL, "contrastControl", "{}"), std::move(contrast)).result);
}

TEST_F(PictureControlHelperTest, VideoStatesAnswerFiveMembers) {
    List result =
        answer({dynf_property_create_int("contrast", 1), dynf_property_create_int("sharpness", 2),
                dynf_property_create_int("brightness", 3), dynf_property_create_int("color", 4),
                dynf_property_create_int("tint", -5)});
    CmdRequest request = handled(video(), std::move(result));
    EXPECT_FALSE(request.bJsonRpcError);
    EXPECT_EQ(
        JsonValue::Create(R"({"contrast":1,"sharpness":2,"brightness":3,"color":4,"tint":-5})"),
        request.result);
}

TEST_F(PictureControlHelperTest, VideoStatesWithOneMissingFailAndKeepTheOthers) {
    List result =
        answer({dynf_property_create_int("contrast", 1), dynf_property_create_int("sharpness", 2),
                dynf_property_create_int("color", 4), dynf_property_create_int("tint", 5)});
    CmdRequest request = handled(video(), std::move(result));
    helpertest::expectError(request, SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_UNKNOWN);
    EXPECT_EQ(JsonValue::Create(R"({"contrast":1,"sharpness":2,"color":4,"tint":5})"),
              request.result);
}

TEST_F(PictureControlHelperTest, IntegerOfAnotherKindFailsTheRead) {
    CmdRequest request = handled(command(COLOR_CONTROL, "colorControl", "{}"),
                                 helpertest::stringAnswer("color", "4"));
    helpertest::expectError(request, SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_UNKNOWN);
}

TEST_F(PictureControlHelperTest, WriteAnswersItsParamsAndSendsAUsageEvent) {
    startPlatform("\"product.tv_year\": 23");
    CmdRequest request = handled(
        command(BRIGHTNESS_CONTROL, "brightnessControl", R"({"AccessToken":"t","brightness":30})"),
        nullptr);
    EXPECT_FALSE(request.bJsonRpcError);
    EXPECT_EQ(JsonValue::Create(R"({"brightness":30})"), request.result);
    EXPECT_EQ(std::vector<std::string>{"{svn=ipcontrol;cm=set;rn=brightnessControl;pn=brightness;"
                                       "pv=30}"},
              helpertest::kpiDescriptions(m_dir));
}

}  // namespace
