// Wall mode control: the LED wall's ambient control, boxes and cabinets.
#pragma once

#include "System/ControlHelperBase.h"

// Serves "ambientControl", "getBoxStates", "getCabinetGroupIds", "getCabinetStates".
// Builds no properties yet: each of its commands fails in the handler as one without data.
// Stateless; threads as ControlHelperBase.
class WallModeControlHelper : public ControlHelperBase {};
