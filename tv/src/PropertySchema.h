// The properties the virtual TV serves: name, type, value domain, default and the rules of each.
#pragma once

#include <climits>
#include <string>
#include <vector>

#include "PropertyValue.h"
#include "dynf.h"

namespace ipc_tv {

inline constexpr char kPowerValue[] = "powerValue";
inline constexpr char kAmbientMode[] = "ambientMode";
inline constexpr char kPictureMode[] = "pictureMode";
inline constexpr char kVolume[] = "volume";
inline constexpr char kMute[] = "mute";
inline constexpr char kSoundMode[] = "soundMode";
inline constexpr char kSpeaker[] = "speaker";
inline constexpr char kSpeakerList[] = "connectedExternalSpeakerList";
inline constexpr char kInputSource[] = "inputSource";
inline constexpr char kExtendedSource[] = "extendedSource";
inline constexpr char kUsbDeviceList[] = "connectedExtendedSourceList";
inline constexpr char kRemoteKey[] = "remoteKey";
inline constexpr char kLaunchApp[] = "launchApp";
inline constexpr char kArtMode[] = "artMode";
inline constexpr char kFirstScreenAppList[] = "firstScreenAppList";
inline constexpr char kFirstScreenAppId[] = "firstScreenAppId";
inline constexpr char kChannelMajor[] = "channelMajor";
inline constexpr char kChannelMinor[] = "channelMinor";  // 0: none
inline constexpr char kDisplayRotation[] = "displayRotation";
inline constexpr char kMultiView[] = "multiView";
inline constexpr char kWallAmbient[] = "wallAmbient";
inline constexpr char kWallBoxStates[] = "wallBoxStates";
inline constexpr char kWallCabinetGroupIds[] = "wallCabinetGroupIds";
inline constexpr char kWallCabinetStates[] = "wallCabinetStates";  // a read's value filters
// The TV's own state behind the properties, never served to clients.
inline constexpr char kLastKey[] = "lastKey";
inline constexpr char kKeyCount[] = "keyPresses";  // counts every key, so a repeat shows
inline constexpr char kForegroundUrl[] = "foregroundUrl";
inline constexpr char kExternalSpeakerId[] = "externalSpeakerId";

// What a client may do with a property.
enum class Access {
    ReadWrite,
    ReadOnly,   // a write answers 5
    WriteOnly,  // a read answers 5
    Internal,   // the TV's own state: unknown to clients (5)
};

// One row of the schema.
struct PropertySpec {
    std::string name;
    dynf_property_type_e type = DYNF_PROPERTY_INT;
    PropertyValue defaultValue;
    // The domain: for a text, the allowed words (none: any text); for an integer, the range.
    // A bool takes both values; a JSON text any text that parses as JSON.
    std::vector<std::string> words;
    int min = INT_MIN;
    int max = INT_MAX;
    bool wall = false;               // served by the wall service
    bool writableInStandby = false;  // a write is taken while the TV is off
    Access access = Access::ReadWrite;

    // True when the value (of this property's type) lies in the domain.
    bool accepts(const PropertyValue& value) const;
};

// An immutable table of rows. Thread-safe (never changes after construction).
class PropertySchema {
public:
    explicit PropertySchema(std::vector<PropertySpec> rows);
    // The TV's own properties.
    static const PropertySchema& builtIn();

    // Null for a name the TV does not know.
    const PropertySpec* find(const std::string& name) const;
    const std::vector<PropertySpec>& rows() const { return m_rows; }
    // This schema with the words and default of a text row replaced (first word when the old
    // default is not among them); unchanged when there is no such row or no words.
    PropertySchema withWords(const std::string& name, std::vector<std::string> words) const;

private:
    std::vector<PropertySpec> m_rows;
};

}  // namespace ipc_tv
