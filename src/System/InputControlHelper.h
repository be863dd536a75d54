// Input control: volume and channel steps and remote-control keys, sent as key presses.
#pragma once

#include <map>
#include <string>

#include "System/ControlHelperBase.h"

// Serves "volumeUpDnControl" and "channelUpDnControl" (params member "control") and
// "remoteKeyControl" (params member "remoteKey"). Each is a write only: the client's key word
// becomes one press and release of the platform key on the framework's JSON-string property
// "remoteKey". All three methods share one key map; key words are case-sensitive.
// A read, or a key word outside the map, fails before any framework call (-32003 and -32602).
// Stateless: getPropertyData() on the worker thread, handleResult() on the callback thread.
class InputControlHelper : public ControlHelperBase {
public:
    InputControlHelper();
    ~InputControlHelper() override = default;
    // "remoteKey" = {"keyName":"KEY_…","keyStatus":"pressAndRelease"}; null when refused.
    dynf_property_list_h getPropertyData(CmdRequest* request) override;

private:
    // The params member that named the key; nothing is read back.
    std::string _usageKey(const CmdRequest& request) const override;
    void _generateKeyMap();
    dynf_property_list_h _getPropertyInternal(CmdRequest* request, const std::string& parameter);
    dynf_property_h _createProperty(CmdRequest* request, const std::string& parameter);
    // The params member that names the key: "remoteKey" or "control".
    static std::string _getPropertyName(const CmdRequest* request);

    const std::string m_propertyName;             // the framework's key property
    std::map<std::string, std::string> m_keyMap;  // client key word → platform key name
};
