// Expert picture control: calibration, motion, dimming, white balance, gamma and colour space.
#pragma once

#include "System/PropertyTableHelper.h"

// Serves the expert picture methods, from "pictureCalibrationModeControl" to
// "colorSpace.BlueControl": one integer or string property per method. The client's key is the
// method's name without "Control", dot and all ("backlight", "gamma.BT1886", "AMP.blurReduction"),
// whatever the property is called. Values are passed unchanged; their ranges and words are the
// framework's to judge.
// Stateless: getPropertyData() on the worker thread, handleResult() on the callback thread.
class ExpertPictureControlHelper : public PropertyTableHelper {
public:
    ExpertPictureControlHelper();
    ~ExpertPictureControlHelper() override = default;
};
