// The service's own persistent flags, kept as one JSON object in the key-value store.
#pragma once

#include <mutex>
#include <string>

#include "JsonValue.h"

// The flag document (normally an object of booleans and strings; null when nothing valid is
// stored) under "db/private/ipcontrol/config_flags", written whole on every change. The one
// flag the service reads is "test_wall_mode": behave as a wall display.
//
// Flags may be rewritten from outside (the admin API writes the key); while watched, a change
// of the key reloads the document, so the next command sees it.
//
// A stored document that is valid JSON but not an object makes getValue() and setValue() throw
// common::json::JsonException ("invalid type").
//
// Process-wide, created on first use. Thread-safe: the worker thread reads flags while the main
// loop reloads them.
class AppSettings : private common::json::JsonValue {
public:
    static AppSettings& getInstance();

    // Reads the stored text and takes it as the document; null when absent or unparsable.
    void load();
    // Writes the document; false when the store refused it.
    bool save();
    // Replaces the document by null and writes it (the stored text becomes "null").
    bool clear();
    // The compact JSON text of the document.
    std::string getJsonStr() const;

    // Set one flag (a null document becomes an object) and write the document.
    bool setValue(const std::string& name, bool value);
    bool setValue(const std::string& name, const std::string& value);
    bool setValue(const std::string& name, const char* value) {
        return setValue(name, std::string(value));
    }
    // A missing flag gives false or "" and still succeeds.
    bool getValue(const std::string& name, bool& out) const;
    bool getValue(const std::string& name, std::string& out) const;

    bool setTestWallMode(bool flag);
    bool isTestWallMode() const;

    // Reload on every change of the stored key (and once now), until unwatchChanges().
    void watchChanges();
    void unwatchChanges();

    bool setPrivateConfigFlags(const std::string& text);
    // False (out unchanged) when nothing is stored.
    bool getPrivateConfigFlags(std::string& out) const;

    AppSettings(const AppSettings&) = delete;
    AppSettings& operator=(const AppSettings&) = delete;

private:
    AppSettings();
    // Caller holds m_mutex.
    void _loadLocked();
    bool _saveLocked();
    // Main loop: the stored key changed.
    static void _onConfigFlagsChanged(const char* key, void* userData);

    // Protects the document (the JsonValue this object is).
    mutable std::mutex m_mutex;
};
