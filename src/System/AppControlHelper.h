// Application control: the direct-access, art-mode and first-screen application methods.
#pragma once

#include "System/ControlHelperBase.h"

// Serves "directAccessControl", "artModeControl", "firstScreenAppControl".
// Builds no properties yet: each of its commands fails in the handler as one without data.
// Stateless; threads as ControlHelperBase.
class AppControlHelper : public ControlHelperBase {};
