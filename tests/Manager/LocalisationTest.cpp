// Localisation: the built catalogues, the language and country settings, and the pop-up's texts.
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "Manager/AccessManager.h"
#include "Manager/FakeNotification.h"
#include "Manager/Localisation.h"
#include "notification.h"
#include "support/PlatformTest.h"
#include "system_settings.h"

namespace {

const char* const kMessageIds[] = {
    "TV_SID_SYSTEM_IP_REMOTE",
    "TV_SID_PERMISSION_REQUIRED_CONNECT_DEVICE_TV",
    "WALL_SID_PERMISSION_REQUIRED_CONNECT_DEVICE_TV",
    "SID_ALLOW",
    "SID_DENY",
    "SID_CLOSE",
};
const char* const kLocaleVariables[] = {
    "LANG",       "LANGUAGE",   "LC_ALL",       "LC_MESSAGES",    "LC_CTYPE",
    "LC_NUMERIC", "LC_TIME",    "LC_COLLATE",   "LC_MONETARY",    "LC_PAPER",
    "LC_NAME",    "LC_ADDRESS", "LC_TELEPHONE", "LC_MEASUREMENT", "LC_IDENTIFICATION",
};

std::string currentLocale(int category) {
    const char* name = setlocale(category, nullptr);
    return name != nullptr ? name : "";
}

// The catalogues come from the build's resource folder, reached through the test's own.
class LocalisationTest : public testsupport::PlatformTest {
protected:
    void SetUp() override {
        FakeNotifications::instance().reset();
        ASSERT_EQ(0, symlink(IPC_TEST_LOCALE_DIR, m_dir.file("locale").c_str()));
        startPlatform();
    }

    // Environment and locale are the process's: leave them as a fresh process has them.
    void TearDown() override {
        i18n_del();
        PlatformTest::TearDown();
        for (const char* variable : kLocaleVariables) {
            unsetenv(variable);
        }
        setlocale(LC_ALL, "C");
    }

    static void setSetting(system_settings_key_e key, const char* value) {
        ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE, system_settings_set_value_string(key, value));
    }
};

TEST_F(LocalisationTest, EveryLanguageHasItsOwnTextForEveryMessageId) {
    std::set<std::string> titles;
    for (const char* language :
         {"en_US.UTF-8", "de_DE.UTF-8", "fr_FR.UTF-8", "es_ES.UTF-8", "ko_KR.UTF-8"}) {
        setSetting(SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE, language);
        i18n_init();
        for (const char* id : kMessageIds) {
            EXPECT_STRNE(id, i18n_text(id)) << language << " " << id;
        }
        titles.insert(i18n_text("TV_SID_SYSTEM_IP_REMOTE"));
        i18n_del();
    }
    EXPECT_EQ(5u, titles.size());
}

TEST_F(LocalisationTest, LanguageChangeSwitchesTheNextPopUp) {
    AccessManager access;
    access.setNotifyCallback([](const std::string&) { return true; });
    access.create();
    access.issueAccessToken("aa:bb:cc:dd:ee:01");
    EXPECT_EQ("IP Remote",
              FakeNotifications::instance().posted().back().texts[NOTIFICATION_TEXT_TYPE_TITLE]);
    FakeNotifications::instance().answer(NOTIFICATION_EVENT_BUTTON_3);

    setSetting(SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE, "de_DE.UTF-8");
    ASSERT_TRUE(
        testsupport::pumpMainLoopUntil([] { return currentLocale(LC_MESSAGES) == "de_DE.UTF-8"; }));
    access.issueAccessToken("aa:bb:cc:dd:ee:01");
    PostedPopup popup = FakeNotifications::instance().posted().back();
    EXPECT_EQ("IP-Fernbedienung", popup.texts[NOTIFICATION_TEXT_TYPE_TITLE]);
    EXPECT_EQ("Ablehnen", popup.texts[NOTIFICATION_TEXT_TYPE_BUTTON_2]);
    access.destroy();
}

TEST_F(LocalisationTest, CountryMovesTheRegionCategoriesOnlyAndSettingsAreFollowedUntilDel) {
    i18n_init();
    setSetting(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY, "ko_KR.UTF-8");
    ASSERT_TRUE(
        testsupport::pumpMainLoopUntil([] { return currentLocale(LC_TIME) == "ko_KR.UTF-8"; }));
    EXPECT_EQ("ko_KR.UTF-8", currentLocale(LC_CTYPE));
    EXPECT_EQ("en_US.UTF-8", currentLocale(LC_MESSAGES));
    EXPECT_STREQ("IP Remote", i18n_text("TV_SID_SYSTEM_IP_REMOTE"));

    i18n_del();
    setSetting(SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE, "es_ES.UTF-8");
    testsupport::drainMainLoop();
    EXPECT_EQ("en_US.UTF-8", currentLocale(LC_MESSAGES));
    i18n_init();
    EXPECT_STREQ("Control remoto IP", i18n_text("TV_SID_SYSTEM_IP_REMOTE"));
}

TEST_F(LocalisationTest, InheritedLocaleOverridesDoNotOutrankTheSetting) {
    setenv("LANGUAGE", "fr", 1);
    setenv("LC_ALL", "C", 1);
    setSetting(SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE, "de_DE.UTF-8");
    i18n_init();
    EXPECT_STREQ("Schließen", i18n_text("SID_CLOSE"));
}

}  // namespace
