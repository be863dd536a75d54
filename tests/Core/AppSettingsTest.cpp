// The flag document in the key-value store: defaults, what is written, damaged documents, and
// the reload when the key is rewritten from outside.
#include <cstdlib>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "Core/AppSettings.h"
#include "support/PlatformFixture.h"
#include "vconf.h"

namespace {

const char* const kConfigFlagsKey = "db/private/ipcontrol/config_flags";

class AppSettingsTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(testsupport::startPlatform(m_dir, testsupport::makeProfile(""), error))
            << error;
        settings().load();
    }

    void TearDown() override {
        settings().unwatchChanges();
        ipc_platform::shutdown();
    }

    static AppSettings& settings() { return AppSettings::getInstance(); }

    // The stored text; "<absent>" when the key is not stored.
    static std::string stored() {
        char* text = vconf_get_str(kConfigFlagsKey);
        std::string value = text != nullptr ? text : "<absent>";
        free(text);
        return value;
    }

    // Rewrites the key as the admin API does: from another thread, straight into the store.
    static void writeFromOutside(const char* text) {
        std::thread([text] { vconf_set_str(kConfigFlagsKey, text); }).join();
    }

    testsupport::TempDir m_dir;
    testsupport::LogCapture m_log;
};

TEST_F(AppSettingsTest, NothingStoredReadsAsDefaultsAndTheFirstSettingStoresTheDocument) {
    EXPECT_FALSE(settings().isTestWallMode());
    std::string text = "unchanged";
    EXPECT_TRUE(settings().getValue("name", text));
    EXPECT_EQ("", text);
    EXPECT_EQ("<absent>", stored());

    EXPECT_TRUE(settings().setTestWallMode(true));
    EXPECT_EQ(R"({"test_wall_mode":true})", stored());
    EXPECT_TRUE(settings().isTestWallMode());
    EXPECT_TRUE(settings().setValue("label", "hall"));
    EXPECT_EQ(R"({"test_wall_mode":true,"label":"hall"})", stored());
}

// Cleared, the key holds null, which loads as nothing; text that is not JSON is replaced by the
// first write, while a document that is not an object is kept and every access throws.
TEST_F(AppSettingsTest, ClearedOrDamagedDocuments) {
    ASSERT_TRUE(settings().setTestWallMode(true));
    EXPECT_TRUE(settings().clear());
    EXPECT_EQ("null", stored());
    settings().load();
    EXPECT_TRUE(m_log.contains("Parse failed, configFlags:null"));
    EXPECT_FALSE(settings().isTestWallMode());

    ASSERT_EQ(0, vconf_set_str(kConfigFlagsKey, "{not json"));
    settings().load();
    EXPECT_FALSE(settings().isTestWallMode());
    EXPECT_TRUE(settings().setTestWallMode(false));
    EXPECT_EQ(R"({"test_wall_mode":false})", stored());

    ASSERT_EQ(0, vconf_set_str(kConfigFlagsKey, "[1,2]"));
    settings().load();
    bool flag = false;
    EXPECT_THROW(settings().getValue("test_wall_mode", flag), common::json::JsonException);
    EXPECT_THROW(settings().setTestWallMode(true), common::json::JsonException);
    EXPECT_EQ("[1,2]", stored());
}

TEST_F(AppSettingsTest, KeyRewrittenFromOutsideIsReloadedOnlyWhileWatched) {
    settings().watchChanges();
    writeFromOutside(R"({"test_wall_mode":true})");
    EXPECT_TRUE(testsupport::pumpMainLoopUntil([] { return settings().isTestWallMode(); }));

    settings().unwatchChanges();
    // A second watcher of the key tells when the change has been announced.
    static bool announced = false;
    announced = false;
    ASSERT_EQ(0, vconf_notify_key_changed(
                     kConfigFlagsKey, [](const char*, void*) { announced = true; }, nullptr));
    writeFromOutside(R"({"test_wall_mode":false})");
    ASSERT_TRUE(testsupport::pumpMainLoopUntil([] { return announced; }));
    EXPECT_TRUE(settings().isTestWallMode());
    settings().load();
    EXPECT_FALSE(settings().isTestWallMode());
}

}  // namespace
