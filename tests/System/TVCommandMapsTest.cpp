// The method vocabulary: availability by TV mode, exact name matching, and the write echo of
// every method's helper.
#include <string>

#include <gtest/gtest.h>

#include "JsonValue.h"
#include "Manager/CmdRequest.h"
#include "System/FakeDynf.h"
#include "System/TVCommandMaps.h"
#include "System/TVControlHelper.h"

namespace {

class TVCommandMapsTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_helpers.create();
        m_maps.generateControlHelpersMap(m_helpers);
        m_maps.generateCommandMaps();
    }

    DYNF_TVCONTROL_PROP_TYPE read(const std::string& method, bool isWall = false) const {
        return m_maps.getTypeForGetOp(isWall, method);
    }
    DYNF_TVCONTROL_PROP_TYPE write(const std::string& method, bool isAmbient = false,
                                   bool isWall = false) const {
        return m_maps.getTypeForSetOp(isAmbient, isWall, method);
    }

    TVControlHelper m_helpers;
    TVCommandMaps m_maps;
};

TEST_F(TVCommandMapsTest, NamesMatchExactly) {
    for (const char* method : {"PowerControl", "powercontrol", "usbSourceControl", "powerControl ",
                               "", "AMP", "gamma."}) {
        EXPECT_EQ(TVCONTROL_PROP_TYPE_INVALID, read(method, true)) << method;
        EXPECT_EQ(TVCONTROL_PROP_TYPE_INVALID, write(method, false, true)) << method;
    }
}

// A write is answered with exactly its params without the token: whatever members a helper
// looks for, absent ones must not turn up in the answer (as null members).
TEST_F(TVCommandMapsTest, EveryWriteIsAnsweredWithExactlyItsParams) {
    const char* const writes[] = {
        R"({"AccessToken":"t","extra":{"a":[1]}})",
        R"({"AccessToken":"t","extra":1,"applicationName":"Internet","multiView":"off",
            "deviceName":"d","deviceId":"1","major":"7"})",
    };
    for (int type = 0; type < TVCONTROL_PROP_TYPE_INVALID; ++type) {
        const auto propType = static_cast<DYNF_TVCONTROL_PROP_TYPE>(type);
        std::shared_ptr<IControlHelper> helper = m_maps.getHelper(propType);
        ASSERT_TRUE(helper) << type;
        for (const char* params : writes) {
            CmdRequest request;
            request.method = "m";
            request.params = common::json::JsonValue::Create(params);
            request.propType = propType;
            const common::json::JsonValue sent = request.params;
            std::unique_ptr<dynf_property_list_s, fakedynf::ListDeleter> list(
                helper->getPropertyData(&request));
            EXPECT_EQ(sent, request.params) << type << " " << params;
            if (list == nullptr || request.bJsonRpcError) {
                continue;
            }
            helper->handleResult(DYNF_ERROR_NONE, nullptr, &request);
            if (type == GET_CABINET_STATES) {
                continue;  // a read, answered with cabinets
            }
            common::json::JsonValue expected = sent;
            expected.removeMember("AccessToken");
            EXPECT_EQ(expected, request.result) << type << " " << params;
        }
    }
}

}  // namespace
