// Product queries answered from the profile, the settings, the power interface and the
// package information.
#include <gtest/gtest.h>

#include "AppInfoUtil.h"
#include "System/SystemApi.h"
#include "SystemInfoUtil.h"
#include "device_power.h"
#include "support/PlatformFixture.h"

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
        // As the service does when it starts.
        SystemApi::getInstance().reloadFeatures();
    }

    testsupport::TempDir m_dir;
};

TEST_F(ProductInfoTest, WallVersionOneIsAWallButNotMicroLed) {
    startPlatform("\"tessera_support\": true, \"tessera_version\": 1");
    EXPECT_TRUE(SystemApi::getInstance().isWall());
    EXPECT_FALSE(SystemApi::getInstance().isMicroLED());
}

// Only the service's own package is installed; its files lie in the resource folder.
TEST_F(ProductInfoTest, RootPathIsKnownForTheOwnPackageOnly) {
    startPlatform("");
    EXPECT_FALSE(AppInfoUtil::GetResourcePath().empty());
    EXPECT_EQ(AppInfoUtil::GetResourcePath(), AppInfoUtil::GetRootPath(AppInfoUtil::GetId()));
    EXPECT_EQ("", AppInfoUtil::GetRootPath("com.example.other"));
}

TEST_F(ProductInfoTest, MissingFeatureKeysReadAsFalse) {
    startPlatform("\"product.tv_year\": 23");
    SystemApi& api = SystemApi::getInstance();
    EXPECT_FALSE(api.isWall());
    EXPECT_FALSE(api.isMicroLED());
    EXPECT_FALSE(api.isEaselTv());
    EXPECT_FALSE(api.isAmbientScreenSupport());
    int width = 0, height = 0;
    EXPECT_FALSE(api.getPanelResolution(width, height));
}

TEST_F(ProductInfoTest, ProductTypesOutsideTheTableAreUnknown) {
    startPlatform("\"product.product_type\": 6");
    std::string type;
    EXPECT_TRUE(SystemApi::getInstance().getProductType(type));
    EXPECT_EQ("UNKNOWN", type);
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
    ipc_platform::shutdown();
    startPlatform("\"product.tv_year\": 19");
    EXPECT_EQ(19, SystemInfoUtil::GetTVYear());
}

}  // namespace
