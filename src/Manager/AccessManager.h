// Access manager: decides which network clients may control the TV.
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Manager/AuthRecord.h"
#include "Manager/AuthTokenIndex.h"
#include "Manager/Hook.h"
#include "Manager/IAccessManager.h"

struct notification_s;

// Keeps the known clients (m_authList, saved in the auth list file), answers the pipeline's
// checks of tokens and MAC addresses, and asks the viewer about a new client with an on-screen
// pop-up (Allow, Deny, Close). The outcome goes to the result callback as one string: the new
// token, "denied" or "timeout". A pop-up ends with the viewer's answer, its own hide timeout, the
// release timeout on the main loop, or another client's request; only the first of these
// delivers. A client denied twice is in the denied group; an Allow resets its class.
//
// Thread-safe: called from the server thread (checks, issueAccessToken), the main loop (the
// pop-up's events, the release timer, the TV screen page's revoke and reset, which create()
// registers with the platform through PairedClientsLink and destroy() withdraws) and the core
// (create, destroy). The page's list is handed over after every change of the list. One
// recursive lock is held through every public operation and both callbacks; the result callback
// runs under it, inside issueAccessToken() when a second client ends the first one's pop-up.
class AccessManager : public IAccessManager {
public:
    static constexpr unsigned int kDefaultReleaseTimeoutMs = 35000;

    // releaseTimeoutMs: how long a pop-up may go unanswered before "timeout" is delivered.
    explicit AccessManager(unsigned int releaseTimeoutMs = kDefaultReleaseTimeoutMs);
    ~AccessManager() override;

    // Loads the list from the file and forgets any pop-up. Always true.
    bool create() override;
    // Forgets the list in memory (not the file) and any pop-up, and stops following the
    // language settings. Always true.
    bool destroy() override;
    // True when some record holds exactly this token (an empty one too).
    bool isRegisteredInAuthGroup(std::string token) override;
    // True when the first record of this MAC address has the denied class.
    bool isRegisteredInDeniedGroup(std::string macAddr) override;
    // The Deny: lowers the client's class by one step (adding it when unknown). The file is left
    // as it is until the next rewrite. Always true.
    bool assignLowerAccessClass(std::string macAddr) override;
    // Puts the pop-up up for this client, first ending another client's pop-up with "timeout".
    // False only when this client's pop-up is already showing; true even when posting failed.
    bool issueAccessToken(std::string macAddr) override;
    // Empties the list and rewrites the file.
    void resetAuthGroupData() override;
    // Forgets every record of this MAC address (its token and any Deny mark) and rewrites the
    // file when one went; returns how many went. The TV screen page's revoke.
    int revokeClient(const std::string& macAddr);
    // Forgets the pop-up on screen without delivering; its later events are ignored.
    void erasePopup() override;

    // The receiver of approval outcomes.
    void setNotifyCallback(std::function<bool(const std::string&)> callback);
    // Records the outcome as a KPI event and hands it to the result callback, returning its
    // answer; throws std::bad_function_call when none is installed.
    bool notifyAccessToken(const std::string& result);

    // Makes a token for the client under check, stores it (updating that client's record or
    // adding one) and rewrites the file.
    std::string generateAccessToken();
    // Appends the file's records to the list; a missing or damaged file is logged, not written.
    void syncAuthListWithFile();
    void syncAuthListWithFileInternal(const std::string& content);
    // Replaces the file with the list and shows it on the TV screen page.
    void updateAuthListToFile();
    // Builds and posts the pop-up for the client under check and arms the release timer.
    void showNotificationBar();
    // Removes the release timer if one is armed.
    void releaseNotiItemResource();

    // A copy of the known clients, in insertion order.
    std::vector<AuthRecord> authList() const;
    // A copy of the first record holding exactly this token (an empty one too), whatever its
    // class; none when no record holds it.
    std::optional<AuthRecord> firstRecordWithToken(const std::string& token) const;

private:
    // The pop-up's event callback and the release timer's callback; data is the manager.
    static void _ip_control_noti_button_cb(notification_s* noti, int eventType, void* data);
    static int internalReleaseTimeoutCallback(void* data);

    void _handleButtonEvent(int eventType);
    void _handleReleaseTimeout();
    // Ends the pop-up: no timer, nothing showing, no client under check.
    void _clearNotification();
    // Hands the list to the TV screen page; after every change of m_authList, under the lock.
    void _showClients();

    const unsigned int m_releaseTimeoutMs;

    // Protects every member below and the auth list file.
    mutable std::recursive_mutex m_mutex;
    std::vector<AuthRecord> m_authList;
    // Kept in step with every change to m_authList, so that a token check does not walk it.
    AuthTokenIndex m_tokenIndex;
    std::string m_macAddrUnderCheck;  // the client whose pop-up is showing; empty when none
    bool m_bIsShowingNotification = false;
    bool m_bIsNotiHandled = false;      // the showing pop-up's outcome has been delivered
    unsigned int m_releaseTimerId = 0;  // main-loop source id; 0 when no timer is armed

    Hook<bool(const std::string&)> m_notifyCallback;
};
