// Multi-view control: several sources on screen at once.
#pragma once

#include "System/ControlHelperBase.h"

// Serves "multiviewControl".
// Builds no properties yet: each of its commands fails in the handler as one without data.
// Stateless; threads as ControlHelperBase.
class MultiViewControlHelper : public ControlHelperBase {};
