// Interface of the controller that wires the managers together.
#pragma once

// Lifecycle of the controller. Main-loop only.
class IController {
public:
    virtual ~IController() = default;
    virtual bool create() = 0;
    virtual bool destroy() = 0;
};
