// The TV as a device: tells reads from writes and answers each command.
#pragma once

#include <string>

#include "Manager/IDeviceManager.h"

// Receives one command at a time from its owner, the DeviceManager, and classifies it as a read
// (no params besides "AccessToken", or a get-only method) or a write. There is no property
// framework behind it yet, so every command is answered as an unknown method. Each command is
// handed back once through the owner and then released here.
// Worker thread only (create()/destroy() on the main loop).
class TVManager : public IDeviceManager {
public:
    ~TVManager() override;
    // owner: the DeviceManager that receives finished commands; a null owner keeps the old one.
    bool create(void* owner) override;
    bool destroy() override;
    void runCommand(CmdRequest* request) override;
    virtual void getCommand(CmdRequest* request);
    virtual void setCommand(CmdRequest* request);

private:
    // True for the one read that carries parameters.
    static bool _isGetOnlyMethod(const std::string& method);
    // Answers the command as an unknown method and releases it.
    void _answerInvalidMethod(CmdRequest* request);
    // Hands the command to the owner for the response; without an owner it is dropped.
    void _enqueueForResponse(CmdRequest* request);

    void* m_owner = nullptr;  // the DeviceManager; not owned
};
