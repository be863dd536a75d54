// Tests of the key-value store through the vconf interface.
#include <filesystem>

#include <gtest/gtest.h>

#include "PlatformTestSupport.h"
#include "vconf.h"

namespace platform_test {
namespace {

constexpr char kKey[] = "db/private/ipcontrol/config_flags";

class KeyValueStoreTest : public PlatformTest {
protected:
    std::string storePath() const { return m_dataDir.file("vconf.json"); }

    std::string value(const char* key) { return takeString(vconf_get_str(key)); }
};

TEST_F(KeyValueStoreTest, ValuesAndRemovalsPersistAcrossRestart) {
    start();
    EXPECT_EQ("<null>", value(kKey));
    ASSERT_EQ(0, vconf_set_str(kKey, R"({"test_wall_mode":true})"));
    ASSERT_EQ(0, vconf_set_str("db/other", "x"));
    ASSERT_EQ(0, vconf_unset("db/other"));
    restart();
    EXPECT_EQ(R"({"test_wall_mode":true})", value(kKey));
    EXPECT_EQ("<null>", value("db/other"));
}

TEST_F(KeyValueStoreTest, UnsetOfAbsentKeySucceedsWithoutWriting) {
    start();
    EXPECT_EQ(0, vconf_unset("db/absent"));
    EXPECT_FALSE(std::filesystem::exists(storePath()));
}

TEST_F(KeyValueStoreTest, RefusesBadArguments) {
    start();
    EXPECT_EQ(-1, vconf_set_str(nullptr, "x"));
    EXPECT_EQ(-1, vconf_set_str(kKey, nullptr));
    EXPECT_EQ(-1, vconf_set_str("", "x"));
    EXPECT_EQ(-1, vconf_set_str(kKey, "\xc3"));
    EXPECT_EQ(-1, vconf_unset(nullptr));
    EXPECT_EQ(nullptr, vconf_get_str(nullptr));
}

TEST_F(KeyValueStoreTest, FailedWriteKeepsPreviousValue) {
    start();
    ASSERT_EQ(0, vconf_set_str(kKey, "old"));
    std::filesystem::remove_all(m_dataDir.path());
    EXPECT_EQ(-1, vconf_set_str(kKey, "new"));
    EXPECT_EQ("old", value(kKey));
}

class RefusedStoreFileTest : public KeyValueStoreTest,
                             public ::testing::WithParamInterface<NamedText> {};

TEST_P(RefusedStoreFileTest, InitializeFailsNamingFile) {
    writeFile(storePath(), GetParam().text);
    const std::string error = startError();
    EXPECT_NE(std::string::npos, error.find(storePath())) << error;
    EXPECT_FALSE(ipc_platform::isInitialized());
}

INSTANTIATE_TEST_SUITE_P(Cases, RefusedStoreFileTest,
                         ::testing::Values(NamedText{"Truncated", "{\"a\": "},
                                           NamedText{"TopLevelArray", "[\"a\"]"},
                                           NamedText{"NumberValue", R"({"a": "x", "b": 1})"},
                                           NamedText{"ObjectValue", R"({"a": {"nested": "x"}})"}),
                         CaseName());

}  // namespace
}  // namespace platform_test
