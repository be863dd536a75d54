// Sound control: volume, mute, sound mode, speaker selection and external speakers.
#pragma once

#include <string>

#include "System/ControlHelperBase.h"

// Serves "directVolumeControl" ("volume", integer), "muteControl" ("mute", bool; client words
// "muteOn"/"muteOff", any other word writes false), "soundModeControl" ("soundMode", string),
// "speakerSelectControl" ("speaker": "Internal", "External", "AudioOut/Optical" as "internal",
// "external", "optical"; any other word writes "") and "externalSpeakerControl"
// ("connectedExternalSpeakerList", JSON text). The speaker list is answered as an array of
// {"deviceName", "deviceId"}, or {} when empty, unreadable or refused by the framework; names
// are copied unescaped, so a name holding a double quote answers null; clients rely on that shape.
// Stateless: getPropertyData() on the worker thread, handleResult() on the callback thread.
class SoundControlHelper : public ControlHelperBase {
public:
    ~SoundControlHelper() override = default;
    // The command's property: a placeholder for a read, the translated params for a write. Null
    // for another type or unusable params.
    dynf_property_list_h getPropertyData(CmdRequest* request) override;

private:
    // A read answers the value under its client key (the speaker list as the whole result).
    void _readAnswer(dynf_property_list_h result, CmdRequest* request) override;
    // The client key of volume, mute, sound mode and speaker, for reads as for writes.
    std::string _usageKey(const CmdRequest& request) const override;
    // The speaker list reports the whole result, without a key; the others their key.
    void _sendKPILog(CmdRequest* request) override;
    dynf_property_h _getMutePropertyInternal(CmdRequest* request);
    dynf_property_h _getSpeakerSelectPropertyInternal(CmdRequest* request);
    dynf_property_h _getExternalSpeakerPropertyInternal(CmdRequest* request);
    void _handleDirectVolumeResult(dynf_property_list_h result, CmdRequest* request);
    void _handleMuteResult(dynf_property_list_h result, CmdRequest* request);
    void _handleSoundModeResult(dynf_property_list_h result, CmdRequest* request);
    void _handleSpeakerSelectResult(dynf_property_list_h result, CmdRequest* request);
    void _handleExternalSpeakerResult(dynf_property_list_h result, CmdRequest* request);
};
