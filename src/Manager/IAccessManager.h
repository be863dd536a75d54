// Interface of the access manager: who may control the TV.
#pragma once

#include <string>

// The checks and approvals that the request pipeline needs from the access manager. The calls
// come from the server thread and the main loop; implementations serialise them themselves.
class IAccessManager {
public:
    virtual ~IAccessManager() = default;
    virtual bool create() = 0;
    virtual bool destroy() = 0;
    // True when some known client holds this token.
    virtual bool isRegisteredInAuthGroup(std::string token) = 0;
    // True when this MAC address has been denied for good.
    virtual bool isRegisteredInDeniedGroup(std::string macAddr) = 0;
    // The viewer's Deny for this client.
    virtual bool assignLowerAccessClass(std::string macAddr) = 0;
    // Asks the viewer to approve this client; false when its approval is already on screen.
    virtual bool issueAccessToken(std::string macAddr) = 0;
    virtual void resetAuthGroupData() = 0;
    // Forgets the approval on screen without reporting an outcome.
    virtual void erasePopup() = 0;
};
