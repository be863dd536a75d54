// Tests of the product profile through the system information interface, and of the shipped
// profiles.
#include <gtest/gtest.h>

#include "PlatformTestSupport.h"
#include "ProductProfile.h"
#include "system_info.h"

namespace platform_test {
namespace {

#define FEATURE(name) SYSTEM_INFO_VENDOR_PREFIX "featureconf/" name

class ProductProfileTest : public PlatformTest {
protected:
    // Starts with a profile of the given text; returns the initialisation error.
    std::string startWithProfile(const std::string& text) {
        writeFile(profilePath(), text);
        return startError(profilePath());
    }
    std::string profilePath() const { return m_dataDir.file("profile.json"); }
};

// Every shipped profile loads with the service available: EveryMethodEndToEndTest.
TEST_F(ProductProfileTest, AnswersKeysOfTheirOwnTypeOnlyAndFacts) {
    start();
    int year = 0;
    bool flag = false;
    ASSERT_EQ(SYSTEM_INFO_ERROR_NONE,
              system_info_get_custom_int(FEATURE("product.tv_year"), &year));
    EXPECT_EQ(23, year);
    char* version = nullptr;
    ASSERT_EQ(SYSTEM_INFO_ERROR_NONE,
              system_info_get_value_string(SYSTEM_INFO_KEY_SW_VERSION, &version));
    EXPECT_EQ("OTV-2023-1040.5", takeString(version));
    EXPECT_EQ(SYSTEM_INFO_ERROR_NOT_SUPPORTED,
              system_info_get_custom_int("featureconf/product.tv_year", &year));
    EXPECT_EQ(SYSTEM_INFO_ERROR_NOT_SUPPORTED,
              system_info_get_custom_int(FEATURE("product.no_such_key"), &year));
    EXPECT_EQ(SYSTEM_INFO_ERROR_INVALID_PARAMETER,
              system_info_get_custom_int(FEATURE("tessera_support"), &year));
    EXPECT_EQ(SYSTEM_INFO_ERROR_INVALID_PARAMETER,
              system_info_get_custom_bool(FEATURE("product.tv_year"), &flag));
}

// A missing profile is named end to end (IpcontroldRefusal).
TEST_F(ProductProfileTest, BrokenProfileFailsInitializeNamingIt) {
    for (const char* text :
         {"{\"featureconf\": {", "[1, 2]", R"({"featureconf": {"easel_tv": "yes"}})",
          R"({"featureconf": {"product.tv_year": 9999999999}})",
          R"({"systemInfo": {"swVersion": 1}})", R"({"tv": ["ambientType", 4]})"}) {
        const std::string error = startWithProfile(text);
        EXPECT_NE(std::string::npos, error.find(profilePath())) << text << ": " << error;
    }
}

// The TV reads its section of every shipped profile end to end (EveryMethodEndToEndTest).
TEST_F(ProductProfileTest, LeavesWhatTheProfileLeavesOutUnsupported) {
    ASSERT_EQ("", startWithProfile(R"({"systemInfo": {"swVersion": "1.0"}})"));
    EXPECT_EQ("", ipc_platform::productProfile()->tvSection());
    char* value = nullptr;
    EXPECT_EQ(SYSTEM_INFO_ERROR_NOT_SUPPORTED,
              system_info_get_value_string(SYSTEM_INFO_KEY_SERIAL_NUMBER, &value));
    EXPECT_EQ(nullptr, value);
}

}  // namespace
}  // namespace platform_test
