// Product queries answered from the profile, the settings and the power interface.
#include <gtest/gtest.h>

#include "System/SystemApi.h"
#include "SystemInfoUtil.h"
#include "device_power.h"
#include "support/PlatformFixture.h"

using testsupport::LogCapture;

namespace {

class ProductInfoTest : public ::testing::Test {
protected:
    void TearDown() override {
        device_power_set_ambient_mode(0);
        ipc_platform::shutdown();
    }

    void startPlatform(const std::string& featureconf) {
        std::string error;
        ASSERT_TRUE(testsupport::startPlatform(m_dir, testsupport::makeProfile(featureconf), error))
            << error;
    }

    testsupport::TempDir m_dir;
    LogCapture m_log;
};

TEST_F(ProductInfoTest, WallVersionOneIsAWallButNotMicroLed) {
    startPlatform("\"tessera_support\": true, \"tessera_version\": 1");
    EXPECT_TRUE(SystemApi::getInstance().isWall());
    EXPECT_FALSE(SystemApi::getInstance().isMicroLED());
    EXPECT_TRUE(m_log.contains("wallVersion:1"));
}

TEST_F(ProductInfoTest, MissingFeatureKeysReadAsFalseWithTheirMessages) {
    startPlatform("\"product.tv_year\": 23");
    SystemApi& api = SystemApi::getInstance();
    EXPECT_FALSE(api.isWall());
    EXPECT_FALSE(api.isMicroLED());
    EXPECT_FALSE(api.isEaselTv());
    EXPECT_FALSE(api.isAmbientScreenSupport());
    int width = 0, height = 0;
    EXPECT_FALSE(api.getPanelResolution(width, height));
    EXPECT_EQ(2u, m_log.count("FMS tessera_support failed to read"));
    EXPECT_TRUE(m_log.contains("FMS easel_tv failed to read"));
    EXPECT_TRUE(m_log.contains("FMS ambient_screen_support failed to read"));
    EXPECT_TRUE(m_log.contains("FMS product.osd_resolution_width failed to read"));
}

TEST_F(ProductInfoTest, ProductTypesOutsideTheTableAreUnknown) {
    startPlatform("\"product.product_type\": 6");
    std::string type;
    EXPECT_TRUE(SystemApi::getInstance().getProductType(type));
    EXPECT_EQ("UNKNOWN", type);
}

TEST_F(ProductInfoTest, LfdIsDecidedByProductType) {
    startPlatform("\"product.product_type\": 4");
    EXPECT_TRUE(SystemApi::getInstance().isLfd());
}

TEST_F(ProductInfoTest, AmbientModesOneToThreeAreAmbient) {
    startPlatform("\"product.tv_year\": 23");
    const std::pair<int, bool> modes[] = {
        {0, false}, {1, true}, {3, true}, {4, false}, {-1, false}};
    for (const auto& [mode, ambient] : modes) {
        device_power_set_ambient_mode(mode);
        EXPECT_EQ(ambient, SystemApi::getInstance().isAmbientMode()) << "mode " << mode;
    }
    EXPECT_TRUE(m_log.contains("Unknown ambient mode:4"));
}

TEST_F(ProductInfoTest, IdentityStringsComeFromTheProfileAndSettings) {
    startPlatform("\"product.tv_year\": 23");
    SystemApi& api = SystemApi::getInstance();
    std::string value;
    EXPECT_TRUE(api.getSwVersion(value));
    EXPECT_EQ("T-1", value);
    EXPECT_TRUE(api.getSerialNumber(value));
    EXPECT_EQ("S-1", value);
    EXPECT_TRUE(api.getProductCode(value));
    EXPECT_EQ("P-1", value);
    EXPECT_TRUE(api.getDeviceName(value));
    EXPECT_EQ("[TV] Test", value);
}

TEST_F(ProductInfoTest, ModelYearIsMinusOneWhenUnknown) {
    startPlatform("\"product.product_type\": 0");
    EXPECT_EQ(-1, SystemInfoUtil::GetTVYear());
    EXPECT_TRUE(m_log.contains("FMS tv_year failed to read"));
    ipc_platform::shutdown();
    startPlatform("\"product.tv_year\": 19");
    EXPECT_EQ(19, SystemInfoUtil::GetTVYear());
}

}  // namespace
