// Localisation: the built catalogues, the language and country settings, and the pop-up's texts.
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <string>

#include <glib.h>
#include <gtest/gtest.h>

#include "Manager/AccessManager.h"
#include "Manager/FakeNotification.h"
#include "Manager/Localisation.h"
#include "notification.h"
#include "support/PlatformFixture.h"
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
class LocalisationTest : public ::testing::Test {
protected:
    void SetUp() override {
        FakeNotifications::instance().reset();
        ASSERT_EQ(0, symlink(IPC_TEST_LOCALE_DIR, m_dir.file("locale").c_str()));
        std::string error;
        ASSERT_TRUE(testsupport::startPlatform(m_dir, testsupport::makeProfile(""), error))
            << error;
    }

    // Environment and locale are the process's: leave them as a fresh process has them.
    void TearDown() override {
        i18n_del();
        ipc_platform::shutdown();
        for (const char* variable : kLocaleVariables) {
            unsetenv(variable);
        }
        setlocale(LC_ALL, "C");
    }

    static void setSetting(system_settings_key_e key, const char* value) {
        ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE, system_settings_set_value_string(key, value));
    }

    // Runs the main loop until every change callback scheduled so far has run.
    static void settle() {
        testsupport::pumpMainLoopUntil([] { return !g_main_context_pending(nullptr); });
    }

    testsupport::TempDir m_dir;
};

struct Language {
    const char* setting;
    const char* title;
    const char* allow;
};

class CatalogueTest : public LocalisationTest, public ::testing::WithParamInterface<Language> {};

TEST_P(CatalogueTest, TranslatesEveryMessageId) {
    setSetting(SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE, GetParam().setting);
    i18n_init();
    for (const char* id : kMessageIds) {
        EXPECT_STRNE(id, i18n_text(id)) << id;
    }
    EXPECT_STREQ(GetParam().title, i18n_text("TV_SID_SYSTEM_IP_REMOTE"));
    EXPECT_STREQ(GetParam().allow, i18n_text("SID_ALLOW"));
}

INSTANTIATE_TEST_SUITE_P(Languages, CatalogueTest,
                         ::testing::Values(Language{"en_US.UTF-8", "IP Remote", "Allow"},
                                           Language{"de_DE.UTF-8", "IP-Fernbedienung", "Zulassen"},
                                           Language{"fr_FR.UTF-8", "Télécommande IP", "Autoriser"},
                                           Language{"es_ES.UTF-8", "Control remoto IP", "Permitir"},
                                           Language{"ko_KR.UTF-8", "IP 리모컨", "허용"}),
                         [](const ::testing::TestParamInfo<Language>& info) {
                             return std::string(info.param.setting).substr(0, 2);
                         });

TEST_F(LocalisationTest, LanguageChangeSwitchesTheNextPopUp) {
    AccessManager access;
    access.setNotifyCallback([](const std::string&) { return true; });
    access.create();
    access.issueAccessToken("aa:bb:cc:dd:ee:01");
    EXPECT_EQ("IP Remote",
              FakeNotifications::instance().last().texts[NOTIFICATION_TEXT_TYPE_TITLE]);
    FakeNotifications::instance().answer(NOTIFICATION_EVENT_BUTTON_3);

    setSetting(SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE, "de_DE.UTF-8");
    ASSERT_TRUE(
        testsupport::pumpMainLoopUntil([] { return currentLocale(LC_MESSAGES) == "de_DE.UTF-8"; }));
    access.issueAccessToken("aa:bb:cc:dd:ee:01");
    PostedPopup popup = FakeNotifications::instance().last();
    EXPECT_EQ("IP-Fernbedienung", popup.texts[NOTIFICATION_TEXT_TYPE_TITLE]);
    EXPECT_EQ("Ablehnen", popup.texts[NOTIFICATION_TEXT_TYPE_BUTTON_2]);
    access.destroy();
}

TEST_F(LocalisationTest, CountryChangeMovesTheRegionCategoriesOnly) {
    i18n_init();
    setSetting(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY, "ko_KR.UTF-8");
    ASSERT_TRUE(
        testsupport::pumpMainLoopUntil([] { return currentLocale(LC_TIME) == "ko_KR.UTF-8"; }));
    EXPECT_EQ("ko_KR.UTF-8", currentLocale(LC_CTYPE));
    EXPECT_EQ("en_US.UTF-8", currentLocale(LC_MESSAGES));
    EXPECT_STREQ("IP Remote", i18n_text("TV_SID_SYSTEM_IP_REMOTE"));
}

TEST_F(LocalisationTest, SettingsAreFollowedOnlyBetweenInitAndDel) {
    i18n_init();
    i18n_del();
    setSetting(SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE, "es_ES.UTF-8");
    settle();
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
