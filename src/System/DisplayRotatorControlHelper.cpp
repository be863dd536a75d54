// Display rotator control: the rotation property under its client key.
#include "System/DisplayRotatorControlHelper.h"

DisplayRotatorControlHelper::DisplayRotatorControlHelper()
    : PropertyTableHelper(
          {{DISPLAY_ROTATOR_CONTROL, "rotation", "displayRotation", DYNF_PROPERTY_STRING}}) {}
