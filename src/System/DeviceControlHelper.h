// Device control: the TV's overall state.
#pragma once

#include "System/ControlHelperBase.h"

// Serves "getTVStates".
// Builds no properties yet: each of its commands fails in the handler as one without data.
// Stateless; threads as ControlHelperBase.
class DeviceControlHelper : public ControlHelperBase {};
