// Display rotator control: the screen's orientation.
#pragma once

#include "System/PropertyTableHelper.h"

// Serves "displayRotatorControl": the string property "displayRotation" ("landscape",
// "portrait"), answered and written under the client key "rotation". Products without rotation
// are refused by the framework.
// Stateless: getPropertyData() on the worker thread, handleResult() on the callback thread.
class DisplayRotatorControlHelper : public PropertyTableHelper {
public:
    DisplayRotatorControlHelper();
    ~DisplayRotatorControlHelper() override = default;
};
