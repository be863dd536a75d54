// Device manager: hands commands to the concrete device (the TV) and carries its report hooks.
// Created, initialised and torn down by the core (main-loop thread).
#pragma once

class DeviceManager {
public:
    virtual ~DeviceManager();
    virtual bool create();
    virtual bool destroy();
};
