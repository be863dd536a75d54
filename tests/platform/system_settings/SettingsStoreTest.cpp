// Tests of the settings store through the system settings interface: the settings file, setters,
// hand edits and where change callbacks run.
#include <filesystem>
#include <map>
#include <thread>

#include <glib.h>
#include <gtest/gtest.h>

#include "PlatformTestSupport.h"
#include "system_settings.h"

namespace platform_test {
namespace {

constexpr system_settings_key_e kAllKeys[] = {
    SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, SYSTEM_SETTINGS_KEY_DEVICE_NAME,
    SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE, SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY};

std::string settingsText(int ipRemoteSupport, const std::string& deviceName,
                         const std::string& country = "en_US.UTF-8") {
    return "[settings]\nipRemoteSupport=" + std::to_string(ipRemoteSupport) +
           "\ndeviceName=" + deviceName + "\nlanguage=en_US.UTF-8\ncountry=" + country + "\n";
}

class SettingsStoreTest : public PlatformTest {
protected:
    std::string settingsPath() const { return m_dataDir.file("settings.ini"); }

    // Records, for every key, how often its callback ran and on which thread.
    void watchAllKeys() {
        for (system_settings_key_e key : kAllKeys) {
            ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
                      system_settings_set_changed_cb(key, &SettingsStoreTest::onChanged, this));
        }
    }
    static void onChanged(system_settings_key_e key, void* self) {
        auto* test = static_cast<SettingsStoreTest*>(self);
        ++test->m_calls[key];
        test->m_callbackThread = std::this_thread::get_id();
    }
    bool waitForCall(system_settings_key_e key) {
        return pumpMainLoopUntil([&] { return m_calls[key] > 0; });
    }

    std::string stringSetting(system_settings_key_e key) {
        char* value = nullptr;
        EXPECT_EQ(SYSTEM_SETTINGS_ERROR_NONE, system_settings_get_value_string(key, &value));
        return takeString(value);
    }
    int intSetting(system_settings_key_e key) {
        int value = -1;
        EXPECT_EQ(SYSTEM_SETTINGS_ERROR_NONE, system_settings_get_value_int(key, &value));
        return value;
    }

    std::map<system_settings_key_e, int> m_calls;
    std::thread::id m_callbackThread;
};

TEST_F(SettingsStoreTest, FirstStartWritesCommentedFileAndFillsKeysLeftOut) {
    start("wall");
    const std::string text = readFile(settingsPath());
    EXPECT_EQ('#', text.front());
    for (const char* line : {"ipRemoteSupport=1\n", "deviceName=[Wall] Lobby\n",
                             "language=en_US.UTF-8\n", "country=en_US.UTF-8\n"}) {
        EXPECT_NE(std::string::npos, text.find(line)) << line;
    }

    // Keys left out of a file take the first start's values; a profile without a device name
    // gives the generic one.
    ipc_platform::shutdown();
    writeFile(m_dataDir.file("plain.json"), R"({"featureconf": {}})");
    writeFile(settingsPath(), "[settings]\ncountry=de_DE.UTF-8\n");
    start(m_dataDir.file("plain.json"));
    EXPECT_EQ("de_DE.UTF-8", stringSetting(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY));
    EXPECT_EQ("[TV] Living Room", stringSetting(SYSTEM_SETTINGS_KEY_DEVICE_NAME));
}

TEST_F(SettingsStoreTest, InitializeRefusesABadFileNamingItAndTheCause) {
    const std::pair<const char*, const char*> cases[] = {
        {"[settings]\nipRemoteSupport=abc\n", "ipRemoteSupport"},
        {"[settings]\nvolume=3\n", "volume"}};
    for (const auto& [contents, named] : cases) {
        writeFile(settingsPath(), contents);
        const std::string error = startError();
        EXPECT_NE(std::string::npos, error.find(settingsPath())) << error;
        EXPECT_NE(std::string::npos, error.find(named)) << error;
        EXPECT_EQ(std::string::npos, error.find('\n'));
    }
}

TEST_F(SettingsStoreTest, SettersPersistAcrossRestartAndAFailedOneChangesNothing) {
    start();
    ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
              system_settings_set_value_int(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, 0));
    ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
              system_settings_set_value_string(SYSTEM_SETTINGS_KEY_DEVICE_NAME, "Den\nTV"));
    restart();
    EXPECT_EQ(0, intSetting(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT));
    EXPECT_EQ("Den\nTV", stringSetting(SYSTEM_SETTINGS_KEY_DEVICE_NAME));

    watchAllKeys();
    std::filesystem::remove_all(m_dataDir.path());
    EXPECT_EQ(SYSTEM_SETTINGS_ERROR_IO_ERROR,
              system_settings_set_value_string(SYSTEM_SETTINGS_KEY_DEVICE_NAME, "Den"));
    EXPECT_EQ("Den\nTV", stringSetting(SYSTEM_SETTINGS_KEY_DEVICE_NAME));
    drainMainLoop();
    EXPECT_EQ(0, m_calls[SYSTEM_SETTINGS_KEY_DEVICE_NAME]);
}

// Whatever wrote the file (a setter on any thread, an editor renaming a new file over it or
// writing in place), each changed key's callback runs once, later, on the main loop; a broken
// edit is logged and changes nothing.
TEST_F(SettingsStoreTest, ChangedKeysFireOnceOnTheMainLoopWhateverWroteTheFile) {
    start();
    watchAllKeys();
    ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
              system_settings_set_value_string(SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE, "en_US.UTF-8"));
    std::thread worker(
        [] { system_settings_set_value_string(SYSTEM_SETTINGS_KEY_DEVICE_NAME, "Den"); });
    worker.join();
    EXPECT_TRUE(m_calls.empty()) << "a callback ran inside a setter";
    ASSERT_TRUE(waitForCall(SYSTEM_SETTINGS_KEY_DEVICE_NAME));
    EXPECT_EQ(std::this_thread::get_id(), m_callbackThread);
    // The monitor reports the edit after the store's own write, so once the edit has fired, the
    // own write has been seen too.
    writeByRename(settingsPath(), settingsText(1, "Den", "fr_FR.UTF-8"));
    ASSERT_TRUE(waitForCall(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY));
    drainMainLoop();
    EXPECT_EQ((std::map<system_settings_key_e, int>{{SYSTEM_SETTINGS_KEY_DEVICE_NAME, 1},
                                                    {SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY, 1}}),
              m_calls);
    EXPECT_EQ("fr_FR.UTF-8", stringSetting(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY));

    writeFile(settingsPath(), settingsText(0, "Den", "fr_FR.UTF-8"));
    ASSERT_TRUE(waitForCall(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT));
    EXPECT_EQ(0, intSetting(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT));

    testsupport::LogCapture log;
    writeFile(settingsPath(), "[settings]\nipRemoteSupport=abc\ndeviceName=Hall\n");
    ASSERT_TRUE(pumpMainLoopUntil([&] { return log.contains(settingsPath()); }));
    EXPECT_EQ("Den", stringSetting(SYSTEM_SETTINGS_KEY_DEVICE_NAME));
    writeByRename(settingsPath(), settingsText(0, "Hall", "fr_FR.UTF-8"));
    ASSERT_TRUE(pumpMainLoopUntil([&] { return m_calls[SYSTEM_SETTINGS_KEY_DEVICE_NAME] == 2; }));
    drainMainLoop();
    EXPECT_EQ(1, m_calls[SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT]);
    EXPECT_EQ(0, m_calls[SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE]);
}

TEST_F(SettingsStoreTest, UnsetAndShutdownDropPendingCallbacks) {
    start();
    watchAllKeys();
    system_settings_set_value_string(SYSTEM_SETTINGS_KEY_DEVICE_NAME, "Den");
    system_settings_set_value_string(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY, "de_DE.UTF-8");
    ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
              system_settings_unset_changed_cb(SYSTEM_SETTINGS_KEY_DEVICE_NAME));
    ASSERT_TRUE(waitForCall(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY));
    EXPECT_EQ(0, m_calls[SYSTEM_SETTINGS_KEY_DEVICE_NAME]);

    system_settings_set_value_string(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY, "fr_FR.UTF-8");
    ipc_platform::shutdown();
    drainMainLoop();
    EXPECT_EQ(1, m_calls[SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY]);
}

TEST_F(SettingsStoreTest, OtherFilesInTheDataFolderNeverWakeTheMainLoop) {
    start();
    watchAllKeys();
    // The service appends to kpi.log and rewrites other files in the same folder all the time;
    // only the replaced settings.ini at the end may reach the main loop.
    std::thread writer([this] {
        for (int i = 0; i < 200; ++i) {
            writeFile(m_dataDir.file("kpi.log"), std::string(i, 'x') + "\n");
            writeByRename(m_dataDir.file("vconf.json"), "{}");
        }
        writeByRename(settingsPath(), settingsText(1, "Den"));
    });
    bool timedOut = false;
    guint guard = g_timeout_add_seconds(
        10, [](gpointer flag) { return *static_cast<bool*>(flag) = true, G_SOURCE_REMOVE; },
        &timedOut);
    int iterations = 0;
    while (m_calls[SYSTEM_SETTINGS_KEY_DEVICE_NAME] == 0 && !timedOut) {
        g_main_context_iteration(nullptr, TRUE);
        ++iterations;
    }
    writer.join();
    if (!timedOut) {
        g_source_remove(guard);
    }
    ASSERT_FALSE(timedOut);
    EXPECT_LT(iterations, 10);
    drainMainLoop();
    EXPECT_EQ(1, m_calls[SYSTEM_SETTINGS_KEY_DEVICE_NAME]);
}

}  // namespace
}  // namespace platform_test
