// Sound control: volume, mute, sound mode and speakers.
#pragma once

#include "System/ControlHelperBase.h"

// Serves "directVolumeControl", "muteControl", "soundModeControl", "speakerSelectControl",
// "externalSpeakerControl".
// Builds no properties yet: each of its commands fails in the handler as one without data.
// Stateless; threads as ControlHelperBase.
class SoundControlHelper : public ControlHelperBase {};
