// The TV as a device: tells reads from writes and starts each command on the property framework.
#pragma once

#include <memory>
#include <string>

#include "Manager/IDeviceManager.h"
#include "System/TVControlPropType.h"

class DYNFHandler;

// Receives one command at a time from its owner, the DeviceManager. A command whose params hold
// a member other than "AccessToken" is a write, unless its method is a read that takes
// parameters ("getCabinetStates"); everything else is a read. The method is looked up for the
// TV's current mode (wall display, ambient screen) and started on the framework handler.
//
// Ownership: runCommand() takes the command over. When the handler accepts it, the handler's
// result path answers and frees it. Otherwise this class answers it (unknown method, refused
// start) through the owner and then frees it; after the handler already answered it (service
// unavailable) the second hand-back is ignored by the response layer. Without a handler the
// command is freed unanswered.
//
// Threads: create()/destroy() on the main loop; runCommand(), getCommand() and setCommand() on
// the worker thread, never concurrently with create()/destroy() (the DeviceManager serialises
// them). The mode is read afresh for every command.
class TVManager : public IDeviceManager {
public:
    TVManager();
    ~TVManager() override;
    // owner: the DeviceManager that receives finished commands; a null owner keeps the old one.
    // Always true, even when the framework could not be reached (every method is then unknown).
    bool create(void* owner) override;
    bool destroy() override;
    void runCommand(CmdRequest* request) override;
    virtual void getCommand(CmdRequest* request);
    virtual void setCommand(CmdRequest* request);

    // A wall display, a micro-LED display, or the test wall mode setting.
    bool isWall();
    // The ambient screen shows (on an Easel TV only while its ambient type is art).
    bool getAmbientMode();

private:
    // True for the one read that carries parameters.
    static bool _isGetOnlyMethod(const std::string& method);
    // Looks the method up, starts it, and answers what could not be started.
    void _startCommand(CmdRequest* request, bool isSet);
    // Hands the command to the owner for the response; without an owner it is dropped.
    void _enqueueForResponse(CmdRequest* request);

    bool m_bAmbientTV = false;  // the product has an ambient screen
    bool m_bEaselTV = false;    // the product is an Easel TV
    void* m_owner = nullptr;    // the DeviceManager; not owned
    std::unique_ptr<DYNFHandler> m_handler;
};
