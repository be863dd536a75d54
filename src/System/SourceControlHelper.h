// Source control: the input source and USB sources.
#pragma once

#include "System/ControlHelperBase.h"

// Serves "inputSourceControl", "USBSourceControl".
// Builds no properties yet: each of its commands fails in the handler as one without data.
// Stateless; threads as ControlHelperBase.
class SourceControlHelper : public ControlHelperBase {};
