// Picture control: picture mode, size, the basic picture values and the video state.
#pragma once

#include "System/ControlHelperBase.h"

// Serves "pictureModeControl", "contrastControl", "brightnessControl", "sharpnessControl",
// "colorControl", "tintControl", "pictureSizeControl", "getVideoStates".
// Builds no properties yet: each of its commands fails in the handler as one without data.
// Stateless; threads as ControlHelperBase.
class PictureControlHelper : public ControlHelperBase {};
