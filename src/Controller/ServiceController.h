// Controller facade: wires the managers' hooks to each other through the core.
#pragma once

#include <string>

#include "Controller/IController.h"

struct CmdRequest;

// Fills every manager hook with one of its forwarding operations, each of which finds its
// target manager through IPControlCore::instance at the moment of the call, so a manager
// replaced by a later start is reached without rewiring. Holds no data of its own.
// create()/destroy() main-loop only. The forwarding operations are thread-safe as far as their
// targets are; each logs and does nothing (or answers false/empty) when its target is missing.
class ServiceController : public IController {
public:
    ~ServiceController() override;
    // Installs the hooks of the request pipeline (when there is one), the network front, the
    // access manager and the device manager, in that order.
    bool create() override;
    // Empties the same hooks again.
    bool destroy() override;

    void processSendResponse(unsigned int clientId, const std::string& text);
    void processSendAccessDenied(unsigned int clientId, const std::string& text);
    std::string processGetPeerMacAddress(unsigned int clientId);
    int processAccessTokenCheckInAuthGroup(std::string token);
    int processMacAddressCheckInDeniedGroup(std::string macAddr);
    int processIssueAccessToken(std::string macAddr);
    void processShowMessage(std::string text);
    void processRunCommand(CmdRequest* cmd);
    void processJsonRequest(unsigned int clientId, std::string json);
    void processStartUPnPDevice();
    void processStopUPnPDevice();
    bool processNotifyAccessToken(std::string result);
    void processEnqueueForResponse(CmdRequest* cmd);
    // "on" starts the UPnP device, "off" stops it; "reboot" and anything else do nothing.
    void processUPnPControl(const std::string& command);
    // "on" erases the approval pop-up; anything else does nothing.
    void processPopupControl(const std::string& command);
    // Erases the approval pop-up, but only while a UPnP device manager exists.
    void processPopupErase();
};
