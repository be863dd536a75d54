// Device control: the TV's overall state.
#pragma once

#include "System/ControlHelperBase.h"

// Serves the read-only "getTVStates": one request for power, volume, mute, sources, channel,
// picture and sound modes and the foreground app, plus art mode on an Easel TV. Ambient mode is
// not a property of the read: it is the state that refuses screen-sensitive writes, reported on
// every product where it can (ambient screen or Easel TV). The answer uses the client words of the
// single methods: {"power", "volume", "mute", "inputSource" (the extended source when set, "dtv"
// as "TV"), "channel": {"major", "minor"}, "pictureMode", "soundMode", "applicationName" (the
// foreground app's title, "unknown" without one), "artMode", "ambientMode": bool}. A write is
// refused before any framework call.
// Stateless: getPropertyData() on the worker thread, handleResult() on the callback thread.
class DeviceControlHelper : public ControlHelperBase {
public:
    ~DeviceControlHelper() override = default;
    // Every state property with its placeholder; null for a write or another type.
    dynf_property_list_h getPropertyData(CmdRequest* request) override;

private:
    // Answers the states found; a missing or unreadable one fails the command, the others are
    // still copied.
    void _readAnswer(dynf_property_list_h result, CmdRequest* request) override;
    void _handlePower(dynf_property_list_h result, CmdRequest* request);
    void _handleSound(dynf_property_list_h result, CmdRequest* request);
    void _handleSource(dynf_property_list_h result, CmdRequest* request);
    void _handleChannel(dynf_property_list_h result, CmdRequest* request);
    void _handleModes(dynf_property_list_h result, CmdRequest* request);
    void _handleApplication(dynf_property_list_h result, CmdRequest* request);
    void _handleArtAndAmbient(dynf_property_list_h result, CmdRequest* request);
};
