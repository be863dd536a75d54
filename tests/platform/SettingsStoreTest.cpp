// Tests of the settings store through the system settings interface: the settings file, setters,
// hand edits and where change callbacks run.
#include <filesystem>
#include <map>
#include <thread>

#include <gtest/gtest.h>

#include "PlatformTestSupport.h"
#include "dlog.h"
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

TEST_F(SettingsStoreTest, FirstStartWritesCommentedFileWithProfileDeviceName) {
    start("wall");
    const std::string text = readFile(settingsPath());
    EXPECT_EQ('#', text.front());
    for (const char* line : {"ipRemoteSupport=1\n", "deviceName=[Wall] Lobby\n",
                             "language=en_US.UTF-8\n", "country=en_US.UTF-8\n"}) {
        EXPECT_NE(std::string::npos, text.find(line)) << line;
    }
    EXPECT_EQ(1, intSetting(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT));
    EXPECT_EQ("[Wall] Lobby", stringSetting(SYSTEM_SETTINGS_KEY_DEVICE_NAME));
}

TEST_F(SettingsStoreTest, FirstStartWithoutProfileDeviceNameUsesGenericName) {
    writeFile(m_dataDir.file("plain.json"), R"({"featureconf": {}})");
    start(m_dataDir.file("plain.json"));
    EXPECT_EQ("[TV] Living Room", stringSetting(SYSTEM_SETTINGS_KEY_DEVICE_NAME));
}

TEST_F(SettingsStoreTest, KeysLeftOutOfTheFileTakeFirstStartValues) {
    writeFile(settingsPath(), "[settings]\ndeviceName=Den\n");
    start();
    EXPECT_EQ("Den", stringSetting(SYSTEM_SETTINGS_KEY_DEVICE_NAME));
    EXPECT_EQ(1, intSetting(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT));
    EXPECT_EQ("en_US.UTF-8", stringSetting(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY));
}

struct RefusedFile {
    const char* name;
    const char* contents;
    const char* named;  // what the error must name besides the file
};

class RefusedSettingsFileTest : public SettingsStoreTest,
                                public ::testing::WithParamInterface<RefusedFile> {};

TEST_P(RefusedSettingsFileTest, InitializeFailsNamingFileAndCause) {
    writeFile(settingsPath(), GetParam().contents);
    const std::string error = startError();
    EXPECT_NE(std::string::npos, error.find(settingsPath())) << error;
    EXPECT_NE(std::string::npos, error.find(GetParam().named)) << error;
    EXPECT_EQ(std::string::npos, error.find('\n'));
    EXPECT_FALSE(ipc_platform::isInitialized());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RefusedSettingsFileTest,
    ::testing::Values(
        RefusedFile{"NotAKeyFile", "this is not a key file\n", "settings.ini"},
        RefusedFile{"IntNotANumber", "[settings]\nipRemoteSupport=abc\n", "ipRemoteSupport"},
        RefusedFile{"UnknownKey", "[settings]\nvolume=3\n", "volume"},
        RefusedFile{"UnknownGroup", "[settings]\ndeviceName=Den\n[extra]\nx=1\n", "extra"}),
    CaseName());

TEST_F(SettingsStoreTest, SettersPersistAcrossRestart) {
    start();
    ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
              system_settings_set_value_int(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, 0));
    ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
              system_settings_set_value_string(SYSTEM_SETTINGS_KEY_DEVICE_NAME, "Den\nTV"));
    restart();
    EXPECT_EQ(0, intSetting(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT));
    EXPECT_EQ("Den\nTV", stringSetting(SYSTEM_SETTINGS_KEY_DEVICE_NAME));
}

TEST_F(SettingsStoreTest, SetterCallbackRunsLaterOnMainLoopOnlyForChangedKey) {
    start();
    watchAllKeys();
    ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
              system_settings_set_value_string(SYSTEM_SETTINGS_KEY_DEVICE_NAME, "Den"));
    ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
              system_settings_set_value_string(SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE, "en_US.UTF-8"));
    EXPECT_TRUE(m_calls.empty()) << "a callback ran inside a setter";
    ASSERT_TRUE(waitForCall(SYSTEM_SETTINGS_KEY_DEVICE_NAME));
    drainMainLoop();
    EXPECT_EQ((std::map<system_settings_key_e, int>{{SYSTEM_SETTINGS_KEY_DEVICE_NAME, 1}}),
              m_calls);
}

TEST_F(SettingsStoreTest, CallbackOfSetterOnAnotherThreadRunsOnMainLoop) {
    start();
    watchAllKeys();
    std::thread worker(
        [] { system_settings_set_value_int(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, 0); });
    worker.join();
    ASSERT_TRUE(waitForCall(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT));
    EXPECT_EQ(std::this_thread::get_id(), m_callbackThread);
}

TEST_F(SettingsStoreTest, UnsetCallbackIsNotCalledForPendingChange) {
    start();
    watchAllKeys();
    system_settings_set_value_string(SYSTEM_SETTINGS_KEY_DEVICE_NAME, "Den");
    system_settings_set_value_string(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY, "de_DE.UTF-8");
    ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
              system_settings_unset_changed_cb(SYSTEM_SETTINGS_KEY_DEVICE_NAME));
    ASSERT_TRUE(waitForCall(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY));
    EXPECT_EQ(0, m_calls[SYSTEM_SETTINGS_KEY_DEVICE_NAME]);
}

TEST_F(SettingsStoreTest, ShutdownDropsPendingCallbacks) {
    start();
    watchAllKeys();
    system_settings_set_value_string(SYSTEM_SETTINGS_KEY_DEVICE_NAME, "Den");
    ipc_platform::shutdown();
    drainMainLoop();
    EXPECT_TRUE(m_calls.empty());
}

TEST_F(SettingsStoreTest, HandEditByRenameFiresOnlyChangedKeys) {
    start();
    watchAllKeys();
    writeByRename(settingsPath(), settingsText(1, "Den", "fr_FR.UTF-8"));
    ASSERT_TRUE(waitForCall(SYSTEM_SETTINGS_KEY_DEVICE_NAME));
    ASSERT_TRUE(waitForCall(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY));
    drainMainLoop();
    EXPECT_EQ(0, m_calls[SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT]);
    EXPECT_EQ(0, m_calls[SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE]);
    EXPECT_EQ("fr_FR.UTF-8", stringSetting(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY));
}

TEST_F(SettingsStoreTest, HandEditInPlaceFiresChangedKey) {
    start();
    watchAllKeys();
    writeFile(settingsPath(), settingsText(0, "[TV] Living Room"));
    ASSERT_TRUE(waitForCall(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT));
    EXPECT_EQ(0, intSetting(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT));
    EXPECT_EQ(0, m_calls[SYSTEM_SETTINGS_KEY_DEVICE_NAME]);
}

TEST_F(SettingsStoreTest, OwnWriteFiresItsCallbackOnce) {
    start();
    watchAllKeys();
    system_settings_set_value_string(SYSTEM_SETTINGS_KEY_DEVICE_NAME, "Den");
    ASSERT_TRUE(waitForCall(SYSTEM_SETTINGS_KEY_DEVICE_NAME));
    // The monitor reports the edit after the store's own write, so once the edit has fired,
    // the own write has been seen too.
    writeByRename(settingsPath(), settingsText(1, "Den", "fr_FR.UTF-8"));
    ASSERT_TRUE(waitForCall(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY));
    EXPECT_EQ(1, m_calls[SYSTEM_SETTINGS_KEY_DEVICE_NAME]);
}

TEST_F(SettingsStoreTest, BrokenHandEditIsLoggedAndPreviousValuesStay) {
    start();
    watchAllKeys();
    std::string errorLine;
    dlog_set_sink(
        [](log_priority prio, const char*, const char* message, void* line) {
            if (prio == DLOG_ERROR) {
                *static_cast<std::string*>(line) = message;
            }
        },
        &errorLine);
    writeFile(settingsPath(), "[settings]\nipRemoteSupport=abc\ndeviceName=Den\n");
    const bool logged = pumpMainLoopUntil([&] { return !errorLine.empty(); });
    dlog_set_sink(nullptr, nullptr);
    ASSERT_TRUE(logged);
    EXPECT_NE(std::string::npos, errorLine.find(settingsPath()));
    EXPECT_EQ("[TV] Living Room", stringSetting(SYSTEM_SETTINGS_KEY_DEVICE_NAME));

    writeByRename(settingsPath(), settingsText(1, "Den"));
    ASSERT_TRUE(waitForCall(SYSTEM_SETTINGS_KEY_DEVICE_NAME));
    EXPECT_EQ(0, m_calls[SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT]);
}

TEST_F(SettingsStoreTest, FailedWriteReportsIoErrorAndKeepsValue) {
    start();
    watchAllKeys();
    std::filesystem::remove_all(m_dataDir.path());
    EXPECT_EQ(SYSTEM_SETTINGS_ERROR_IO_ERROR,
              system_settings_set_value_string(SYSTEM_SETTINGS_KEY_DEVICE_NAME, "Den"));
    EXPECT_EQ("[TV] Living Room", stringSetting(SYSTEM_SETTINGS_KEY_DEVICE_NAME));
    drainMainLoop();
    EXPECT_EQ(0, m_calls[SYSTEM_SETTINGS_KEY_DEVICE_NAME]);
}

TEST_F(SettingsStoreTest, RefusesWrongKeyTypeAndArguments) {
    start();
    const auto unknown = static_cast<system_settings_key_e>(42);
    int number = 0;
    EXPECT_EQ(SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER,
              system_settings_get_value_int(SYSTEM_SETTINGS_KEY_DEVICE_NAME, &number));
    EXPECT_EQ(SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER,
              system_settings_get_value_int(unknown, &number));
    EXPECT_EQ(SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER,
              system_settings_set_value_string(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, "1"));
    EXPECT_EQ(SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER,
              system_settings_set_value_string(SYSTEM_SETTINGS_KEY_DEVICE_NAME, "\xff\xfe"));
    EXPECT_EQ(SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER,
              system_settings_set_changed_cb(unknown, &SettingsStoreTest::onChanged, this));
}

}  // namespace
}  // namespace platform_test
