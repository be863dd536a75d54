// The settings store: values in memory, atomic writes, hand-edit reloads and callbacks that
// always run on the default main context.
#include "SettingsStore.h"

#include <algorithm>

#include <glib.h>

#include "PlatformLog.h"
#include "dlog.h"

namespace ipc_platform {

namespace {

using WeakStore = std::weak_ptr<SettingsStore>;

gboolean onPendingIdle(gpointer data) {
    if (auto store = static_cast<WeakStore*>(data)->lock()) {
        store->dispatchPending();
    }
    return G_SOURCE_REMOVE;
}

void deleteWeakStore(gpointer data) {
    delete static_cast<WeakStore*>(data);
}

}  // namespace

SettingsStore::SettingsStore(std::string path, SettingsValues defaults)
    : m_file(std::move(path)), m_defaults(std::move(defaults)), m_values(m_defaults) {}

SettingsStore::~SettingsStore() {
    std::lock_guard<std::mutex> lock(m_mutex);
    _dropPendingSourceLocked();
}

bool SettingsStore::load(std::string& error) {
    SettingsValues values = m_defaults;
    switch (m_file.load(values, error)) {
        case SettingsFile::LoadResult::Refused:
            return false;
        case SettingsFile::LoadResult::Missing:
            if (!m_file.save(values, error)) {
                return false;
            }
            dlog_print(DLOG_INFO, kLogTag, "first start: wrote %s", m_file.path().c_str());
            break;
        case SettingsFile::LoadResult::Loaded:
        case SettingsFile::LoadResult::Empty:
            break;
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    m_values = std::move(values);
    return true;
}

bool SettingsStore::startWatching(std::string& error) {
    WeakStore weak = weak_from_this();
    return m_watcher.start(
        m_file.path(),
        [weak] {
            if (auto store = weak.lock()) {
                store->reload();
            }
        },
        error);
}

void SettingsStore::stop() {
    m_watcher.stop();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_stopped = true;
    m_callbacks.clear();
    m_observer = nullptr;
    m_pendingKeys.clear();
    _dropPendingSourceLocked();
}

void SettingsStore::_dropPendingSourceLocked() {
    if (m_pendingSource != nullptr) {
        g_source_destroy(m_pendingSource);
        g_source_unref(m_pendingSource);
        m_pendingSource = nullptr;
    }
}

template <typename T>
int SettingsStore::_get(system_settings_key_e key, T& value) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stopped) {
        return SYSTEM_SETTINGS_ERROR_NOT_READY;
    }
    const auto it = m_values.find(key);
    const T* held = it != m_values.end() ? std::get_if<T>(&it->second) : nullptr;
    if (held == nullptr) {
        return SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER;
    }
    value = *held;
    return SYSTEM_SETTINGS_ERROR_NONE;
}

int SettingsStore::getInt(system_settings_key_e key, int& value) const {
    return _get(key, value);
}

int SettingsStore::getString(system_settings_key_e key, std::string& value) const {
    return _get(key, value);
}

int SettingsStore::set(system_settings_key_e key, const SettingValue& value) {
    if (const auto* text = std::get_if<std::string>(&value);
        text != nullptr &&
        !g_utf8_validate(text->data(), static_cast<gssize>(text->size()), nullptr)) {
        return SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER;
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stopped) {
        return SYSTEM_SETTINGS_ERROR_NOT_READY;
    }
    const auto it = m_values.find(key);
    if (it == m_values.end() || it->second.index() != value.index()) {
        return SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER;
    }
    if (it->second == value) {
        return SYSTEM_SETTINGS_ERROR_NONE;
    }
    SettingsValues values = m_values;
    values[key] = value;
    std::string error;
    if (!m_file.save(values, error)) {
        dlog_print(DLOG_ERROR, kLogTag, "setting %s not stored: %s", findSetting(key)->name,
                   error.c_str());
        return SYSTEM_SETTINGS_ERROR_IO_ERROR;
    }
    m_values = std::move(values);
    _scheduleLocked({key});
    return SYSTEM_SETTINGS_ERROR_NONE;
}

int SettingsStore::setChangedCallback(system_settings_key_e key,
                                      system_settings_changed_cb callback, void* userData) {
    if (callback == nullptr || findSetting(key) == nullptr) {
        return SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER;
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stopped) {
        return SYSTEM_SETTINGS_ERROR_NOT_READY;
    }
    m_callbacks[key] = ChangedCallback{callback, userData};
    return SYSTEM_SETTINGS_ERROR_NONE;
}

int SettingsStore::unsetChangedCallback(system_settings_key_e key) {
    if (findSetting(key) == nullptr) {
        return SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER;
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stopped) {
        return SYSTEM_SETTINGS_ERROR_NOT_READY;
    }
    m_callbacks.erase(key);
    return SYSTEM_SETTINGS_ERROR_NONE;
}

void SettingsStore::reload() {
    SettingsValues values = m_defaults;
    std::string error;
    // Under the mutex, so that a setter's write cannot slip between reading and comparing.
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stopped) {
        return;
    }
    switch (m_file.load(values, error)) {
        case SettingsFile::LoadResult::Refused:
            dlog_print(DLOG_ERROR, kLogTag, "settings edit ignored: %s", error.c_str());
            return;
        case SettingsFile::LoadResult::Missing:
            dlog_print(DLOG_WARN, kLogTag, "%s was removed; the settings in use stay",
                       m_file.path().c_str());
            return;
        case SettingsFile::LoadResult::Empty:  // being written; its completion comes as an event
            return;
        case SettingsFile::LoadResult::Loaded:
            break;
    }
    std::vector<system_settings_key_e> changed;
    for (const auto& [key, value] : values) {
        if (m_values.at(key) != value) {
            changed.push_back(key);
            dlog_print(DLOG_INFO, kLogTag, "setting %s changed in %s", findSetting(key)->name,
                       m_file.path().c_str());
        }
    }
    m_values = std::move(values);
    _scheduleLocked(changed);
}

void SettingsStore::_scheduleLocked(const std::vector<system_settings_key_e>& keys) {
    for (system_settings_key_e key : keys) {
        if (std::find(m_pendingKeys.begin(), m_pendingKeys.end(), key) == m_pendingKeys.end()) {
            m_pendingKeys.push_back(key);
        }
    }
    if (m_pendingKeys.empty() || m_pendingSource != nullptr) {
        return;
    }
    // An idle source on the default context: callbacks never run inside the caller, and always
    // on the main loop whichever thread changed the value.
    m_pendingSource = g_idle_source_new();
    g_source_set_callback(m_pendingSource, onPendingIdle, new WeakStore(weak_from_this()),
                          deleteWeakStore);
    g_source_attach(m_pendingSource, g_main_context_default());
}

void SettingsStore::dispatchPending() {
    std::vector<system_settings_key_e> keys;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        keys.swap(m_pendingKeys);
        _dropPendingSourceLocked();
    }
    for (system_settings_key_e key : keys) {
        ChangedCallback callback{};
        {
            // Looked up now: a callback unset (or the store stopped) since the change is not run.
            std::lock_guard<std::mutex> lock(m_mutex);
            const auto it = m_callbacks.find(key);
            if (m_stopped || it == m_callbacks.end()) {
                continue;
            }
            callback = it->second;
        }
        callback.function(key, callback.userData);
    }
    std::function<void()> observer;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_stopped && !keys.empty()) {
            observer = m_observer;
        }
    }
    if (observer) {
        observer();
    }
}

void SettingsStore::setChangeObserver(std::function<void()> observer) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_observer = std::move(observer);
}

}  // namespace ipc_platform
