// The rules that tie the TV's properties together beyond storing a value: keys, sources, channels,
// speakers, applications, multi-view and the wall's states.
#pragma once

#include <string>
#include <vector>

#include "AppCatalogue.h"
#include "PropertyList.h"
#include "PropertyStore.h"
#include "WallStates.h"

namespace ipc_tv {

// The rules that tie properties to one another and to the product's catalogue and devices.
// Holds no state of its own: every call reads and changes the store it is given.
// Thread-safe (immutable); the store is serialised by its owner.
class TvPropertyRules {
public:
    // multiView: the product has the multi-view key; wall: the wall's states it serves.
    TvPropertyRules(AppCatalogue apps, std::vector<std::string> extendedSources, bool multiView,
                    WallStates wall);

    const AppCatalogue& apps() const { return m_apps; }
    const std::vector<std::string>& extendedSources() const { return m_extendedSources; }

    // The checks of a write that depend on the TV's state and catalogue, for a value already
    // within its row's domain: DYNF_ERROR_INVALID_VALUE when refused, DYNF_ERROR_NOT_AVAILABLE
    // for a key other than power in standby.
    dynf_error check(const std::string& name, const PropertyValue& value,
                     const PropertyStore& store, bool standby) const;
    // Carries out a checked write; the names whose value changed, each once.
    std::vector<std::string> apply(const dynf_property_list_s& list, PropertyStore& store) const;
    // The answer to a checked read: the current values, the cabinets filtered by the read's
    // value (see cabinetsMatching).
    PropertyListPtr answer(const dynf_property_list_s& list, const PropertyStore& store) const;
    // Replaces a list of connected devices (kSpeakerList or kUsbDeviceList, canonical JSON
    // text); a speaker or source that went away falls back to the TV's own.
    std::vector<std::string> connect(const std::string& listName, const std::string& json,
                                     PropertyStore& store) const;
    // After values were restored: fills in the catalogue's lists and the wall's states, and resets,
    // with a log line, stored values that no longer hold.
    void settle(PropertyStore& store) const;

private:
    class Changes;

    void _applyOne(const std::string& name, const PropertyValue& value, Changes& changes) const;
    void _pressKey(const std::string& key, Changes& changes) const;
    void _tune(int major, Changes& changes) const;
    bool _isSource(const std::string& name, const PropertyStore& store) const;
    // The inputs and extended sources a multi-view tile may show.
    std::vector<std::string> _sources(const PropertyStore& store) const;

    const AppCatalogue m_apps;
    const std::vector<std::string> m_extendedSources;
    const bool m_multiView;
    const WallStates m_wall;
};

}  // namespace ipc_tv
