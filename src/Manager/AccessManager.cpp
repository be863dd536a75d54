// Access manager: the client list, tokens, the approval pop-up and its outcomes.
#include "Manager/AccessManager.h"

#include <algorithm>
#include <ctime>
#include <exception>
#include <set>
#include <utility>

#include <glib.h>

#include "Common/KPILogger.h"
#include "Core/AppInfo.h"
#include "Log.h"
#include "Manager/AccessToken.h"
#include "Manager/AuthListFile.h"
#include "Manager/Localisation.h"
#include "Manager/PairedClientsLink.h"
#include "SecurityMode.h"
#include "System/SystemApi.h"
#include "notification.h"

namespace {

const int kHideTimeoutSeconds = 30;
const char* const kDenied = "denied";
const char* const kTimeout = "timeout";

// The managers that exist. A pop-up can outlive its manager (the core replaces managers on a
// restart), so the callbacks look their data up here first.
struct LiveManagers {
    // Protects managers; held through each callback, so a manager is never deleted under one.
    std::mutex mutex;
    std::set<const void*> managers;
};

// Never destroyed: managers may be deleted by other static destructors at exit.
LiveManagers& liveManagers() {
    static auto* live = new LiveManagers;
    return *live;
}

void sendConnectionResult(bool allowed) {
    KPILoggerData data;
    data.kind = KPILoggerData::CONNECTION_RESULT;
    data.isAllowed = allowed;
    KPILogger::getInstance().sendLog("CONNECTION_RESULT", "EV001", data);
}

// Title, question and the three labelled buttons, in the language of the settings.
void setTexts(notification_h noti) {
    notification_set_text(noti, NOTIFICATION_TEXT_TYPE_TITLE, i18n_text("TV_SID_SYSTEM_IP_REMOTE"),
                          "TITLE");
    const char* content = SystemApi::getInstance().isWall()
                              ? "WALL_SID_PERMISSION_REQUIRED_CONNECT_DEVICE_TV"
                              : "TV_SID_PERMISSION_REQUIRED_CONNECT_DEVICE_TV";
    notification_set_text(noti, NOTIFICATION_TEXT_TYPE_CONTENT, i18n_text(content), "CONTENT");
    notification_add_button(noti, NOTIFICATION_BUTTON_1);
    notification_set_text(noti, NOTIFICATION_TEXT_TYPE_BUTTON_1, i18n_text("SID_ALLOW"), "ALLOW");
    notification_add_button(noti, NOTIFICATION_BUTTON_2);
    notification_set_text(noti, NOTIFICATION_TEXT_TYPE_BUTTON_2, i18n_text("SID_DENY"), "DENY");
    notification_add_button(noti, NOTIFICATION_BUTTON_3);
    notification_set_text(noti, NOTIFICATION_TEXT_TYPE_BUTTON_3, i18n_text("SID_CLOSE"), "CLOSE");
}

}  // namespace

AccessManager::AccessManager(unsigned int releaseTimeoutMs) : m_releaseTimeoutMs(releaseTimeoutMs) {
    std::lock_guard<std::mutex> live(liveManagers().mutex);
    liveManagers().managers.insert(this);
}

AccessManager::~AccessManager() {
    // First, without the lock: it waits for a revoke or reset of the page still running.
    PairedClientsLink::detach(this);
    {
        std::lock_guard<std::mutex> live(liveManagers().mutex);
        liveManagers().managers.erase(this);
    }
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    releaseNotiItemResource();
}

bool AccessManager::create() {
    SecurityMode::refresh();
    // The pop-up names a wall display as such; a start may follow a platform restart on another
    // product.
    SystemApi::getInstance().reloadFeatures();
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        syncAuthListWithFile();
        m_bIsShowingNotification = false;
        m_bIsNotiHandled = false;
    }
    // Outside the lock: the platform holds its own while a handler runs, and a handler takes
    // this manager's lock, so the two are never taken in the other order.
    PairedClientsLink::attach(this);
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    _showClients();
    return true;
}

bool AccessManager::destroy() {
    // A stopped service keeps no list in memory: the page's list and revoke wait for the next
    // start.
    PairedClientsLink::detach(this);
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_bIsNotiHandled = false;
    m_authList.clear();
    m_tokenIndex.clear();
    m_macAddrUnderCheck.clear();
    releaseNotiItemResource();
    m_bIsShowingNotification = false;
    i18n_del();
    return true;
}

bool AccessManager::isRegisteredInAuthGroup(std::string token) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    LOGI("received AccessToken:%s", SecurityMode::token(token).c_str());
    // The Deny record carries an empty token, and a hand-edited list may carry anything.
    if (SecurityMode::hardened() && !AccessToken::isWellFormed(token)) {
        LOGE("Failed to find matched AccessToken!!");
        return false;
    }
    if (m_tokenIndex.firstWith(token) != AuthTokenIndex::npos) {
        LOGI("Found matched AccessToken");
        return true;
    }
    LOGE("Failed to find matched AccessToken!!");
    return false;
}

bool AccessManager::isRegisteredInDeniedGroup(std::string macAddr) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    for (const AuthRecord& record : m_authList) {
        if (record.macAddr != macAddr) {
            continue;
        }
        if (record.accessClass == AuthRecord::DENIED) {
            LOGI("Found matched Mac Addr in the DeniedGroup, accessClass:%d", record.accessClass);
            return true;
        }
        LOGI("Found. But not listed in the DeniedGroup, accessClass:%d", record.accessClass);
        return false;
    }
    LOGI("failed to find matched macAddr:%s", macAddr.c_str());
    return false;
}

bool AccessManager::assignLowerAccessClass(std::string macAddr) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    sendConnectionResult(false);
    LOGI("received macAddr:%s  m_authList.size:%zu", macAddr.c_str(), m_authList.size());
    for (AuthRecord& record : m_authList) {
        if (record.macAddr != macAddr) {
            continue;
        }
        if (record.accessClass < AuthRecord::DENIED) {
            LOGI("Set lower AccessClass for client(macAddr:%s) accessClass:%d", macAddr.c_str(),
                 record.accessClass);
            record.accessClass += 1;
            LOGI("Changed : accessClass[%d]", record.accessClass);
            _showClients();
        } else {
            LOGI("No need to set lower AccessClass for client(macAddr:%s)", macAddr.c_str());
        }
        return true;
    }
    LOGI("Not found client(macAddr:%s), adding new one", macAddr.c_str());
    AuthRecord record;
    record.accessClass = AuthRecord::DENIED_ONCE;
    record.macAddr = macAddr;
    m_authList.push_back(record);
    m_tokenIndex.added(m_authList.size() - 1, record.accessToken);
    _showClients();
    return true;
}

bool AccessManager::issueAccessToken(std::string macAddr) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    LOGI("m_bIsShowingNotification:%d", m_bIsShowingNotification);
    if (m_bIsShowingNotification) {
        if (macAddr == m_macAddrUnderCheck) {
            LOGE("Failed for showNotificationBar()");
            return false;
        }
        // The previous client's request is still the pipeline's pending one while it hears
        // this; its pop-up stays on screen until the new one replaces it.
        m_bIsNotiHandled = true;
        _clearNotification();
        notifyAccessToken(kTimeout);
        LOGI("cleared previous client information and going into next step");
    }
    m_macAddrUnderCheck = macAddr;
    showNotificationBar();
    return true;
}

void AccessManager::resetAuthGroupData() {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_authList.clear();
    m_tokenIndex.clear();
    updateAuthListToFile();
}

int AccessManager::revokeClient(const std::string& macAddr) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    const size_t before = m_authList.size();
    m_authList.erase(std::remove_if(m_authList.begin(), m_authList.end(),
                                    [&](const AuthRecord& r) { return r.macAddr == macAddr; }),
                     m_authList.end());
    const int revoked = static_cast<int>(before - m_authList.size());
    LOGI("revoked %d record(s) of macAddr:%s", revoked, macAddr.c_str());
    if (revoked > 0) {
        m_tokenIndex.rebuild(m_authList);
        updateAuthListToFile();
    }
    return revoked;
}

void AccessManager::erasePopup() {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (m_bIsShowingNotification) {
        _clearNotification();
    }
}

void AccessManager::setNotifyCallback(std::function<bool(const std::string&)> callback) {
    m_notifyCallback.set(std::move(callback));
}

bool AccessManager::notifyAccessToken(const std::string& result) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    // Every delivered outcome counts as an Allow here; a Deny has been counted on its own.
    sendConnectionResult(true);
    return m_notifyCallback(result);
}

std::string AccessManager::generateAccessToken() {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    std::string token = AccessToken::make(m_tokenIndex);
    bool found = false;
    for (size_t position = 0; position < m_authList.size(); ++position) {
        AuthRecord& record = m_authList[position];
        if (record.macAddr == m_macAddrUnderCheck) {
            LOGI("Found same MAC addr in the m_authList[%s] m_macAddrUnderCheck[%s]",
                 record.macAddr.c_str(), m_macAddrUnderCheck.c_str());
            LOGI("Updating previous client info....");
            m_tokenIndex.changed(position, record.accessToken, token);
            record.accessToken = token;
            record.accessClass = AuthRecord::AUTHORISED;
            found = true;
            break;
        }
    }
    if (!found) {
        AuthRecord record;
        record.macAddr = m_macAddrUnderCheck;
        record.accessToken = token;
        m_authList.push_back(record);
        m_tokenIndex.added(m_authList.size() - 1, token);
    }
    updateAuthListToFile();
    LOGI("finished, m_authList.size:%zu", m_authList.size());
    return token;
}

void AccessManager::syncAuthListWithFile() {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    LOGI("authListFolder:%s", AuthListFile::folderPath().c_str());
    std::string content;
    if (!AuthListFile::read(content)) {
        LOGE("There's no file:%s", AuthListFile::filePath().c_str());
        return;
    }
    syncAuthListWithFileInternal(content);
    LOGI("Finished authlist data sync.");
}

void AccessManager::syncAuthListWithFileInternal(const std::string& content) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    const size_t before = m_authList.size();
    AuthListFile::parse(content, m_authList);
    for (size_t position = before; position < m_authList.size(); ++position) {
        m_tokenIndex.added(position, m_authList[position].accessToken);
    }
    _showClients();
    LOGI("m_authList.size:%zu", m_authList.size());
}

void AccessManager::updateAuthListToFile() {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    // The list as saved is the list the TV screen shows.
    _showClients();
    LOGI("authListFolder:%s", AuthListFile::folderPath().c_str());
    AuthListFile::ensureFolder();
    LOGI("m_authList.size:%zu", m_authList.size());
    if (AuthListFile::replace(AuthListFile::toJson(m_authList))) {
        LOGI("Finished authlist data update.");
    }
}

void AccessManager::showNotificationBar() {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    LOGI("showNotificationBar start (appVersion:%s)", AppInfo::GetVersion().c_str());
    i18n_init();

    notification_h noti = notification_create(NOTIFICATION_TYPE_NOTI);
    if (noti == nullptr) {
        LOGE("notification_create failed");
        return;
    }
    setTexts(noti);
    notification_set_display_applist(noti, NOTIFICATION_DISPLAY_APP_ACTIVE);
    notification_zt_set_hide_timeout(noti, kHideTimeoutSeconds);
    notification_set_layout(noti, NOTIFICATION_LAYOUT_POPUP_BUTTONS);
    const std::string tag = std::to_string(static_cast<long long>(time(nullptr)));
    if (notification_set_tag(noti, tag.c_str()) != NOTIFICATION_ERROR_NONE) {
        LOGE("notification setup failed");
        notification_free(noti);
        return;
    }
    int posted =
        notification_zt_post_with_event_cb(noti, &AccessManager::_ip_control_noti_button_cb, this);
    notification_free(noti);
    if (posted != NOTIFICATION_ERROR_NONE) {
        LOGE("notification_post_with_event_cb failed");
        return;
    }
    LOGI("noti_handle freed");

    m_bIsShowingNotification = true;
    m_bIsNotiHandled = false;
    releaseNotiItemResource();
    m_releaseTimerId =
        g_timeout_add(m_releaseTimeoutMs, &AccessManager::internalReleaseTimeoutCallback, this);
}

void AccessManager::releaseNotiItemResource() {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (m_releaseTimerId != 0) {
        g_source_remove(m_releaseTimerId);
        // Forgotten at once: removing a source id twice is an error on the main loop.
        m_releaseTimerId = 0;
    }
}

std::vector<AuthRecord> AccessManager::authList() const {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return m_authList;
}

std::optional<AuthRecord> AccessManager::firstRecordWithToken(const std::string& token) const {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    const size_t position = m_tokenIndex.firstWith(token);
    if (position == AuthTokenIndex::npos) {
        return std::nullopt;
    }
    return m_authList[position];
}

void AccessManager::_ip_control_noti_button_cb(notification_s* /*noti*/, int eventType,
                                               void* data) {
    LOGI("event_type:%d", eventType);
    std::lock_guard<std::mutex> live(liveManagers().mutex);
    if (data == nullptr || liveManagers().managers.count(data) == 0) {
        return;
    }
    // Nothing may unwind into the main loop.
    try {
        static_cast<AccessManager*>(data)->_handleButtonEvent(eventType);
    } catch (const std::exception& e) {
        LOGE("outcome not delivered: %s", e.what());
    }
}

int AccessManager::internalReleaseTimeoutCallback(void* data) {
    std::lock_guard<std::mutex> live(liveManagers().mutex);
    if (data != nullptr && liveManagers().managers.count(data) != 0) {
        try {
            static_cast<AccessManager*>(data)->_handleReleaseTimeout();
        } catch (const std::exception& e) {
            LOGE("outcome not delivered: %s", e.what());
        }
    }
    return G_SOURCE_REMOVE;
}

void AccessManager::_handleButtonEvent(int eventType) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    // A pop-up that was erased, destroyed or replaced may still answer: it is forgotten.
    if (m_bIsNotiHandled || !m_bIsShowingNotification) {
        return;
    }
    m_bIsNotiHandled = true;
    const char* outcome = nullptr;
    std::string token;
    switch (eventType) {
        case NOTIFICATION_EVENT_BUTTON_1:
            LOGI("Allow");
            token = generateAccessToken();
            outcome = token.c_str();
            break;
        case NOTIFICATION_EVENT_BUTTON_2:
            LOGI("Deny");
            assignLowerAccessClass(m_macAddrUnderCheck);
            outcome = kDenied;
            break;
        case NOTIFICATION_EVENT_BUTTON_3:
        case NOTIFICATION_EVENT_HIDDEN_BY_USER:
            LOGI("Hidden by User");
            outcome = kTimeout;
            break;
        case NOTIFICATION_EVENT_HIDDEN_BY_TIMEOUT:
            LOGI("Hidden by Timeout");
            outcome = kTimeout;
            break;
        case NOTIFICATION_EVENT_HIDDEN_BY_EXTERNAL:
            LOGI("Hidden by external");
            break;
        default:
            break;
    }
    // The pop-up is over before its outcome goes out, so the receiver may start the next one.
    _clearNotification();
    if (outcome != nullptr) {
        notifyAccessToken(outcome);
    }
}

void AccessManager::_handleReleaseTimeout() {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    GSource* current = g_main_current_source();
    if (current != nullptr) {
        if (g_source_is_destroyed(current)) {
            return;  // removed while this call waited for the lock; a newer timer may be armed
        }
        if (g_source_get_id(current) == m_releaseTimerId) {
            m_releaseTimerId = 0;  // this timer fires once and is then gone
        }
    }
    if (!m_bIsShowingNotification) {
        return;
    }
    m_bIsNotiHandled = true;
    _clearNotification();
    notifyAccessToken(kTimeout);
}

void AccessManager::_showClients() {
    PairedClientsLink::show(this, m_authList);
}

void AccessManager::_clearNotification() {
    releaseNotiItemResource();
    m_bIsShowingNotification = false;
    m_macAddrUnderCheck.clear();
}
