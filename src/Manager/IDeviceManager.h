// Interface of a device manager: the part of the service that carries out commands.
#pragma once

struct CmdRequest;

// A device that runs JSON-RPC commands. create() and destroy() run on the main loop, runCommand()
// on the worker thread. runCommand() takes over the command: the device hands it back to its
// owner once for the response and then releases it.
class IDeviceManager {
public:
    virtual ~IDeviceManager() = default;
    // owner: the object the device reports back to; may be null where the device has none.
    virtual bool create(void* owner) = 0;
    virtual bool destroy() = 0;
    virtual void runCommand(CmdRequest* cmd) = 0;
};
