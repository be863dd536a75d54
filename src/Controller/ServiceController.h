// Controller facade: wires the managers' hooks to each other through the core.
// Created, initialised and torn down by the core (main-loop thread).
#pragma once

class ServiceController {
public:
    virtual ~ServiceController();
    virtual bool create();
    virtual bool destroy();
};
