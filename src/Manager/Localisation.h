// Localisation of the on-screen texts: the process locale follows the TV's language and country.
//
// Thread-safe: every function serialises its changes of the environment and the process locale
// under one lock. The change callbacks come on the main loop, i18n_init() and i18n_del() from the
// access manager. Environment and locale are process-wide.
#pragma once

#include "system_settings.h"

// The text domain of the pop-up's message ids; its catalogues lie in "<resource path>locale/".
inline constexpr char kI18nDomain[] = "dyn-framework";

// Sets the locale from the language and country settings, follows their changes and binds the
// text domain; done once until i18n_del(), later calls only log the catalogue folder.
void i18n_init();
// Stops following the settings; the next i18n_init() sets everything up again.
void i18n_del();
// Applies the language setting (LANG, LC_MESSAGES) to the process locale.
void update_lang();
// Applies the country setting (the other LC_* categories) to the process locale.
void update_region();
// Change callbacks of the language and country settings.
void on_change_language(system_settings_key_e key, void* userData);
void on_change_country(system_settings_key_e key, void* userData);
// The translation of a message id in the service's text domain; the id itself when there is none.
const char* i18n_text(const char* msgId);
