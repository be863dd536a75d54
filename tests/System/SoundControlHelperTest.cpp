// Sound control: the mute and speaker vocabularies, volume and mode, the external speaker list.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "System/HelperTestSupport.h"
#include "System/SoundControlHelper.h"
#include "support/PlatformTest.h"

using common::json::JsonType;
using common::json::JsonValue;
using helpertest::answer;
using helpertest::command;
using helpertest::List;

namespace {

class SoundControlHelperTest : public testsupport::PlatformTest {
protected:
    static CmdRequest mute(const std::string& params) {
        return command(MUTE_CONTROL, "muteControl", params);
    }
    static CmdRequest speaker(const std::string& params) {
        return command(SPEAKER_SELECT_CONTROL, "speakerSelectControl", params);
    }
    static CmdRequest speakers(const std::string& params = R"({"AccessToken":"t"})") {
        return command(EXTERNAL_SPEAKER_CONTROL, "externalSpeakerControl", params);
    }

    // The result of a speaker list read that the framework answers with text.
    JsonValue speakerList(const std::string& text) {
        List result = answer(
            {dynf_property_create_json_string("connectedExternalSpeakerList", text.c_str())});
        CmdRequest request =
            helpertest::handled(m_helper, speakers(), DYNF_ERROR_NONE, std::move(result));
        EXPECT_FALSE(request.bJsonRpcError) << text;
        return request.result;
    }

    CmdRequest handled(CmdRequest request, List result) {
        return helpertest::handled(m_helper, std::move(request), DYNF_ERROR_NONE,
                                   std::move(result));
    }

    SoundControlHelper m_helper;
};

TEST_F(SoundControlHelperTest, MuteWordsAndTheFallbackToFalse) {
    const std::pair<const char*, bool> words[] = {
        {R"({"mute":"muteOn"})", true}, {R"({"mute":"muteOff"})", false},
        {R"({"mute":"on"})", false},    {R"({"mute":"MuteOn"})", false},
        {R"({"mute":""})", false},      {R"({"AccessToken":"t"})", false}};
    for (const auto& [params, value] : words) {
        CmdRequest request = mute(params);
        fakedynf::Property property = helpertest::sentOne(m_helper, request);
        EXPECT_EQ("mute", property.name) << params;
        EXPECT_EQ(DYNF_PROPERTY_BOOL, property.type) << params;
        EXPECT_EQ(value, property.boolValue) << params;
        EXPECT_FALSE(request.bJsonRpcError) << params;
    }
}

TEST_F(SoundControlHelperTest, UnknownSpeakerWordSendsTheEmptyString) {
    for (const char* params : {R"({"speakerSelect":"internal"})", R"({"speakerSelect":"TV"})",
                               R"({"AccessToken":"t"})"}) {
        CmdRequest request = speaker(params);
        fakedynf::Property property = helpertest::sentOne(m_helper, request);
        EXPECT_EQ("speaker", property.name) << params;
        EXPECT_EQ("", property.text) << params;
    }
}

TEST_F(SoundControlHelperTest, UnknownFrameworkSpeakerLeavesSpeakerSelectOut) {
    CmdRequest request = handled(speaker("{}"), helpertest::stringAnswer("speaker", "hdmi"));
    EXPECT_FALSE(request.bJsonRpcError);
    EXPECT_FALSE(request.result.isMember("speakerSelect"));
}

TEST_F(SoundControlHelperTest, MissingVolumeFailsTheRead) {
    CmdRequest request = handled(command(DIRECT_VOLUME_CONTROL, "directVolumeControl", "{}"),
                                 helpertest::stringAnswer("mute", "x"));
    helpertest::expectError(request, SERVER_ERROR_FAILED, DEVICE_MANAGER_ERROR_UNKNOWN);
}

TEST_F(SoundControlHelperTest, SpeakerListIsRebuiltWithClientKeys) {
    EXPECT_EQ(JsonValue::Create(R"([{"deviceName":"Bar","deviceId":"1"}])"),
              speakerList(R"([{"id":"1","name":"Bar"}])"));
    EXPECT_EQ(JsonValue::Create(
                  R"([{"deviceName":"A","deviceId":"1"},{"deviceName":"B","deviceId":"2"}])"),
              speakerList(R"([{"id":"1","name":"A"},"skipped",{"id":"2","name":"B","x":0}])"));
    EXPECT_EQ(JsonValue(JsonType::objectValue), speakerList("[]"));
    // A name with a double quote, or text that is not JSON, leaves no list.
    EXPECT_TRUE(speakerList(R"([{"id":"1","name":"Bar \"X\""}])").isNull());
    EXPECT_TRUE(speakerList("[{").isNull());
}

TEST_F(SoundControlHelperTest, RefusedOrMissingSpeakerListAnswersAnEmptyObject) {
    CmdRequest refused =
        helpertest::handled(m_helper, speakers(), DYNF_ERROR_NOT_SUPPORTED, nullptr);
    EXPECT_FALSE(refused.bJsonRpcError);
    EXPECT_EQ(JsonValue::Create("{}"), refused.result);
    CmdRequest missing = handled(speakers(), helpertest::stringAnswer("speaker", "external"));
    EXPECT_FALSE(missing.bJsonRpcError);
    EXPECT_EQ(JsonValue::Create("{}"), missing.result);
}

TEST_F(SoundControlHelperTest, RefusedSpeakerChoiceFailsWithoutUsageEvent) {
    startPlatform("\"product.tv_year\": 23");
    CmdRequest request =
        helpertest::handled(m_helper, speakers(R"({"deviceName":"Bar","deviceId":"1"})"),
                            DYNF_ERROR_INVALID_VALUE, nullptr);
    helpertest::expectError(request, INVALID_PARAMS, DEVICE_MANAGER_ERROR_INVALID_OPERATION);
    EXPECT_TRUE(helpertest::kpiDescriptions(m_dir).empty());
}

}  // namespace
