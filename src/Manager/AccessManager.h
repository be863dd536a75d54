// Access manager: decides which network clients may control the TV.
// Created, initialised and torn down by the core (main-loop thread).
#pragma once

class AccessManager {
public:
    virtual ~AccessManager();
    virtual bool create();
    virtual bool destroy();
};
