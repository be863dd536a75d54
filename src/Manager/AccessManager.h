// Access manager: decides which network clients may control the TV.
#pragma once

#include <functional>
#include <string>

#include "Manager/Hook.h"
#include "Manager/IAccessManager.h"

// For now knows no client and cannot start an approval: every token is unknown, no MAC address
// is denied, and issueAccessToken() fails, so "createAccessToken" is refused until pairing
// exists. The outcome of an approval goes to the result callback that the controller installs.
// create()/destroy() main-loop only; the checks are called from the server thread and hold no
// state; the result callback is thread-safe.
class AccessManager : public IAccessManager {
public:
    ~AccessManager() override;
    bool create() override;
    bool destroy() override;
    bool isRegisteredInAuthGroup(std::string token) override;
    bool isRegisteredInDeniedGroup(std::string macAddr) override;
    bool assignLowerAccessClass(std::string macAddr) override;
    bool issueAccessToken(std::string macAddr) override;
    void resetAuthGroupData() override;
    void erasePopup() override;

    // The receiver of approval outcomes: a new token, "denied" or "timeout".
    void setNotifyCallback(std::function<bool(const std::string&)> callback);
    // Hands an outcome to the result callback and returns its answer; throws
    // std::bad_function_call when none is installed.
    bool notifyAccessToken(const std::string& result);

private:
    Hook<bool(const std::string&)> m_notifyCallback;
};
