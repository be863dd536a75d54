// Controller facade: wires the managers' hooks to each other through the core.
#include "Controller/ServiceController.h"

ServiceController::~ServiceController() = default;

bool ServiceController::create() {
    return true;
}

bool ServiceController::destroy() {
    return true;
}
