// Display rotator control: the screen's orientation.
#pragma once

#include "System/ControlHelperBase.h"

// Serves "displayRotatorControl".
// Builds no properties yet: each of its commands fails in the handler as one without data.
// Stateless; threads as ControlHelperBase.
class DisplayRotatorControlHelper : public ControlHelperBase {};
