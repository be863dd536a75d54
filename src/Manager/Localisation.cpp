// Localisation: environment and locale from the language and country settings, the text domain.
#include "Manager/Localisation.h"

#include <libintl.h>

#include <clocale>
#include <cstdlib>
#include <mutex>
#include <string>

#include "Core/AppInfo.h"
#include "Log.h"

namespace {

// Guards g_initialised and serialises every change of the environment and the process locale.
// Recursive because i18n_init() applies the settings through update_lang()/update_region().
std::recursive_mutex g_mutex;
bool g_initialised = false;

// The categories that follow the country, in the order they are set.
const char* const kRegionVariables[] = {
    "LC_CTYPE", "LC_NUMERIC", "LC_TIME",      "LC_COLLATE",     "LC_MONETARY",       "LC_PAPER",
    "LC_NAME",  "LC_ADDRESS", "LC_TELEPHONE", "LC_MEASUREMENT", "LC_IDENTIFICATION",
};

// The setting's text, or false when it cannot be read.
bool readSetting(system_settings_key_e key, std::string& value) {
    char* text = nullptr;
    if (system_settings_get_value_string(key, &text) != SYSTEM_SETTINGS_ERROR_NONE ||
        text == nullptr) {
        free(text);
        return false;
    }
    value = text;
    free(text);
    return true;
}

// A process started from a desktop shell may carry LC_ALL or LANGUAGE, either of which would
// outrank the categories set here; the TV's settings are the only source.
void dropInheritedOverrides() {
    unsetenv("LC_ALL");
    unsetenv("LANGUAGE");
}

const char* orNull(const char* text) {
    return text != nullptr ? text : "(null)";
}

void set_i18n(const char* domain, const char* dir) {
    LOGI("domain:%s  dir:%s", orNull(domain), orNull(dir));
    if (domain == nullptr) {
        LOGE("domain is NULL");
        return;
    }
    if (setlocale(LC_ALL, "") == nullptr) {
        const char* locale = nullptr;
        std::string language;
        if (readSetting(SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE, language)) {
            locale = setlocale(LC_ALL, language.c_str());
            LOGI("setlocale=%s", orNull(locale));
        }
        if (locale == nullptr) {
            LOGE("setlocale() error");
        }
    }
    if (bindtextdomain(domain, dir) == nullptr) {
        LOGE("bindtextdomain() error");
    }
    // The catalogues are UTF-8, and so is what the pop-up shows, whatever LC_CTYPE is.
    bind_textdomain_codeset(domain, "UTF-8");
    if (textdomain(domain) == nullptr) {
        LOGE("textdomain() error");
    }
}

}  // namespace

void i18n_init() {
    const std::string dir = AppInfo::GetResourcePath() + "locale/";
    LOGI("locale_dir:%s", dir.c_str());
    std::lock_guard<std::recursive_mutex> lock(g_mutex);
    if (g_initialised) {
        return;
    }
    update_lang();
    update_region();
    system_settings_set_changed_cb(SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE, on_change_language,
                                   nullptr);
    system_settings_set_changed_cb(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY, on_change_country, nullptr);
    set_i18n(kI18nDomain, dir.c_str());
    g_initialised = true;
}

void i18n_del() {
    std::lock_guard<std::recursive_mutex> lock(g_mutex);
    if (!g_initialised) {
        return;
    }
    LOGI("DeRegistering i18n_del vconf callbacks ");
    system_settings_unset_changed_cb(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY);
    system_settings_unset_changed_cb(SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE);
    g_initialised = false;
}

void update_lang() {
    std::string language;
    if (!readSetting(SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE, language)) {
        LOGE("failed to get current language for set lang env");
        return;
    }
    LOGI("lang:%s", language.c_str());
    std::lock_guard<std::recursive_mutex> lock(g_mutex);
    dropInheritedOverrides();
    setenv("LANG", language.c_str(), 1);
    setenv("LC_MESSAGES", language.c_str(), 1);
    const char* locale = setlocale(LC_ALL, "");
    if (locale == nullptr) {
        locale = setlocale(LC_ALL, language.c_str());
    }
    LOGI("setlocale=%s", orNull(locale));
}

void update_region() {
    std::string country;
    if (!readSetting(SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY, country)) {
        LOGE("failed to get current region format for set region env");
        return;
    }
    std::lock_guard<std::recursive_mutex> lock(g_mutex);
    dropInheritedOverrides();
    for (const char* variable : kRegionVariables) {
        setenv(variable, country.c_str(), 1);
    }
    const char* locale = setlocale(LC_ALL, "");
    LOGI("setlocale=%s", orNull(locale));
}

void on_change_language(system_settings_key_e /*key*/, void* /*userData*/) {
    LOGI("");
    update_lang();
}

void on_change_country(system_settings_key_e /*key*/, void* /*userData*/) {
    LOGI("");
    update_region();
}

const char* i18n_text(const char* msgId) {
    return dgettext(kI18nDomain, msgId);
}
