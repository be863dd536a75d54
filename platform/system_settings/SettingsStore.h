// The settings store: the values of the settings file in memory, their change callbacks, and
// the watch that follows hand edits of the file. Thread-safe, except where marked main-loop only
// (the thread that runs the GLib default main context). Must be owned by a std::shared_ptr:
// callbacks are dispatched through a weak reference to it.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "FileWatcher.h"
#include "SettingsFile.h"
#include "SettingsSchema.h"
#include "system_settings.h"

typedef struct _GSource GSource;

namespace ipc_platform {

class SettingsStore : public std::enable_shared_from_this<SettingsStore> {
public:
    // defaults hold every setting: a missing file is written with them, and keys the file
    // leaves out take them.
    SettingsStore(std::string path, SettingsValues defaults);
    ~SettingsStore();
    SettingsStore(const SettingsStore&) = delete;
    SettingsStore& operator=(const SettingsStore&) = delete;

    // Reads the file, or writes the first-start file when there is none. A file that does not
    // parse, or holds an unknown group or key or a value of the wrong type, is refused: returns
    // false with error naming the file and the reason.
    bool load(std::string& error);

    // Main-loop only. Starts following hand edits of the file.
    bool startWatching(std::string& error);
    // Main-loop only. Stops the watch, drops pending and registered callbacks; every later call
    // answers NOT_READY.
    void stop();

    // Results are system_settings_error_e values.
    int getInt(system_settings_key_e key, int& value) const;
    int getString(system_settings_key_e key, std::string& value) const;
    // Writes the file and, when the value differs, schedules the key's callback on the main loop.
    int set(system_settings_key_e key, const SettingValue& value);
    int setChangedCallback(system_settings_key_e key, system_settings_changed_cb callback,
                           void* userData);
    int unsetChangedCallback(system_settings_key_e key);

    // Main-loop only. Takes the file's current contents after a hand edit; a file that does not
    // parse is logged and the values in memory stay.
    void reload();
    // Main-loop only. Runs the callbacks of the keys changed since the last dispatch, then the
    // change observer.
    void dispatchPending();
    // Called on the main loop once per dispatch of changed keys, whether or not they have
    // callbacks (the admin server follows every change this way).
    void setChangeObserver(std::function<void()> observer);

private:
    struct ChangedCallback {
        system_settings_changed_cb function;
        void* userData;
    };

    template <typename T>
    int _get(system_settings_key_e key, T& value) const;
    void _scheduleLocked(const std::vector<system_settings_key_e>& keys);
    void _dropPendingSourceLocked();

    const SettingsFile m_file;
    const SettingsValues m_defaults;
    FileWatcher m_watcher;  // main-loop only, not under the mutex

    // Protects m_values, m_callbacks, m_observer, m_pendingKeys, m_pendingSource and m_stopped, and
    // serialises writes of the file so that it always holds m_values.
    mutable std::mutex m_mutex;
    SettingsValues m_values;
    std::map<system_settings_key_e, ChangedCallback> m_callbacks;
    std::function<void()> m_observer;
    std::vector<system_settings_key_e> m_pendingKeys;  // changed, callbacks not yet run
    GSource* m_pendingSource = nullptr;                // the idle source that will run them
    bool m_stopped = false;
};

}  // namespace ipc_platform
