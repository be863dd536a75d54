// Product queries answered from the profile, the settings, the power interface and the
// package information.
#include <gtest/gtest.h>

#include "AppInfoUtil.h"
#include "System/SystemApi.h"
#include "SystemInfoUtil.h"
#include "support/PlatformTest.h"

namespace {

class ProductInfoTest : public testsupport::PlatformTest {
protected:
    void start(const std::string& featureconf) {
        startPlatform(featureconf);
        SystemApi::getInstance().reloadFeatures();  // as the service does when it starts
    }
};

// Only the service's own package is installed; its files lie in the resource folder.
TEST_F(ProductInfoTest, RootPathIsKnownForTheOwnPackageOnly) {
    start("");
    EXPECT_FALSE(AppInfoUtil::GetResourcePath().empty());
    EXPECT_EQ(AppInfoUtil::GetResourcePath(), AppInfoUtil::GetRootPath(AppInfoUtil::GetId()));
    EXPECT_EQ("", AppInfoUtil::GetRootPath("com.example.other"));
}

// Wall version 1 is a wall but no MicroLED; keys the profile lacks read as false.
TEST_F(ProductInfoTest, FeatureKeysReadAsTheProfileHasThem) {
    start("\"tessera_support\": true, \"tessera_version\": 1");
    SystemApi& api = SystemApi::getInstance();
    EXPECT_TRUE(api.isWall());
    EXPECT_FALSE(api.isMicroLED());
    ipc_platform::shutdown();
    start("\"product.tv_year\": 23");
    EXPECT_FALSE(api.isWall());
    EXPECT_FALSE(api.isMicroLED());
    EXPECT_FALSE(api.isEaselTv());
    EXPECT_FALSE(api.isAmbientScreenSupport());
    int width = 0, height = 0;
    EXPECT_FALSE(api.getPanelResolution(width, height));
}

TEST_F(ProductInfoTest, ProductTypesOutsideTheTableAreUnknown) {
    start("\"product.product_type\": 6");
    std::string type;
    EXPECT_TRUE(SystemApi::getInstance().getProductType(type));
    EXPECT_EQ("UNKNOWN", type);
}

TEST_F(ProductInfoTest, IdentityStringsComeFromTheProfileAndSettings) {
    start("\"product.tv_year\": 23");
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
    start("\"product.product_type\": 0");
    EXPECT_EQ(-1, SystemInfoUtil::GetTVYear());
    ipc_platform::shutdown();
    start("\"product.tv_year\": 19");
    EXPECT_EQ(19, SystemInfoUtil::GetTVYear());
}

}  // namespace
