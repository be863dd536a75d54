// Expert picture control: calibration, motion, dimming, white balance, gamma and colour space.
#pragma once

#include "System/ControlHelperBase.h"

// Serves the expert picture methods, from "pictureCalibrationModeControl" to
// "colorSpace.BlueControl".
// Builds no properties yet: each of its commands fails in the handler as one without data.
// Stateless; threads as ControlHelperBase.
class ExpertPictureControlHelper : public ControlHelperBase {};
