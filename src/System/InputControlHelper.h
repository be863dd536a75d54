// Input control: volume and channel steps and remote keys.
#pragma once

#include "System/ControlHelperBase.h"

// Serves "volumeUpDnControl", "channelUpDnControl", "remoteKeyControl".
// Builds no properties yet: each of its commands fails in the handler as one without data.
// Stateless; threads as ControlHelperBase.
class InputControlHelper : public ControlHelperBase {};
