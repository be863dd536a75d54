// Tests of the key-value store through the vconf interface.
#include <filesystem>
#include <thread>

#include <gtest/gtest.h>

#include "PlatformTestSupport.h"
#include "app_common.h"
#include "system_settings.h"
#include "vconf.h"

namespace platform_test {
namespace {

constexpr char kKey[] = "db/private/ipcontrol/config_flags";

class KeyValueStoreTest : public PlatformTest {
protected:
    std::string storePath() const { return m_dataDir.file("vconf.json"); }

    std::string value(const char* key) { return takeString(vconf_get_str(key)); }
};

TEST_F(KeyValueStoreTest, ValuesAndRemovalsPersistAcrossRestartAndAFailedWriteChangesNothing) {
    start();
    EXPECT_EQ("<null>", value(kKey));
    EXPECT_EQ(0, vconf_unset("db/absent"));  // nothing to forget: nothing written
    EXPECT_FALSE(std::filesystem::exists(storePath()));
    ASSERT_EQ(0, vconf_set_str(kKey, R"({"test_wall_mode":true})"));
    ASSERT_EQ(0, vconf_set_str("db/other", "x"));
    ASSERT_EQ(0, vconf_unset("db/other"));
    restart();
    EXPECT_EQ(R"({"test_wall_mode":true})", value(kKey));
    EXPECT_EQ("<null>", value("db/other"));

    std::filesystem::remove_all(m_dataDir.path());
    EXPECT_EQ(-1, vconf_set_str(kKey, "new"));
    EXPECT_EQ(R"({"test_wall_mode":true})", value(kKey));
}

// Counts the change callbacks of keys and the threads they ran on.
struct KeyChanges {
    std::vector<std::string> keys;
    std::vector<std::thread::id> threads;
    static void record(const char* key, void* self) {
        auto* changes = static_cast<KeyChanges*>(self);
        changes->keys.push_back(key);
        changes->threads.push_back(std::this_thread::get_id());
    }
};

// Callbacks run on the main loop after real changes only; ignoring a callback or a shutdown drops
// what is pending for it.
TEST_F(KeyValueStoreTest, ChangeCallbacksRunOnTheMainLoopAfterRealChangesUntilIgnored) {
    start();
    KeyChanges changes;
    ASSERT_EQ(0, vconf_notify_key_changed(kKey, &KeyChanges::record, &changes));
    std::thread writer([] { vconf_set_str(kKey, "a"); });
    writer.join();
    EXPECT_TRUE(changes.keys.empty());  // never inside the change
    ASSERT_TRUE(pumpMainLoopUntil([&] { return changes.keys.size() == 1; }));
    EXPECT_EQ(std::this_thread::get_id(), changes.threads[0]);

    ASSERT_EQ(0, vconf_set_str(kKey, "a"));        // the same value
    ASSERT_EQ(0, vconf_set_str("db/other", "b"));  // another key
    ASSERT_EQ(0, vconf_unset(kKey));
    drainMainLoop();
    EXPECT_EQ((std::vector<std::string>{kKey, kKey}), changes.keys);

    ASSERT_EQ(0, vconf_set_str(kKey, "c"));
    EXPECT_EQ(0, vconf_ignore_key_changed(kKey, &KeyChanges::record));
    EXPECT_EQ(-1, vconf_ignore_key_changed(kKey, &KeyChanges::record));
    drainMainLoop();
    ASSERT_EQ(0, vconf_notify_key_changed(kKey, &KeyChanges::record, &changes));
    ASSERT_EQ(0, vconf_set_str(kKey, "d"));
    ipc_platform::shutdown();
    drainMainLoop();
    EXPECT_EQ(2u, changes.keys.size());
}

// The store is read last: what was read before it is not served either.
TEST_F(KeyValueStoreTest, BrokenStoreFileFailsInitializeNamingItAndNothingIsServed) {
    for (const char* text : {"{\"a\": ", "[\"a\"]", R"({"a": "x", "b": 1})"}) {
        writeFile(storePath(), text);
        const std::string error = startError();
        EXPECT_NE(std::string::npos, error.find(storePath())) << text << ": " << error;
    }
    int number = 0;
    EXPECT_EQ(SYSTEM_SETTINGS_ERROR_NOT_READY,
              system_settings_get_value_int(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, &number));
    EXPECT_EQ("<null>", takeString(app_get_data_path()));
}

}  // namespace
}  // namespace platform_test
