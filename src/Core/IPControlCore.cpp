// The service core: manager lifecycle and the IP remote support switch.
#include "Core/IPControlCore.h"

#include "Controller/ServiceController.h"
#include "Core/AppInfo.h"
#include "Log.h"
#include "Manager/AccessManager.h"
#include "Manager/DeviceManager.h"
#include "Manager/ServerManager.h"
#include "Manager/ServiceManager.h"
#include "Manager/UIManager.h"
#include "Manager/UPnPDeviceManager.h"
#include "system_info.h"

IPControlCore* IPControlCore::instance = nullptr;

namespace {

const char* const kServiceAvailableKey =
    SYSTEM_INFO_VENDOR_PREFIX "featureconf/convergence.ipcontrol.service_available";

// Puts a new manager into its slot, deleting the previous generation first.
template <typename Manager>
Manager* replace(Manager*& slot, Manager* fresh) {
    delete slot;
    slot = fresh;
    return fresh;
}

int readIpRemoteSupport() {
    int value = -1;
    if (system_settings_get_value_int(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, &value) !=
        SYSTEM_SETTINGS_ERROR_NONE) {
        return -1;
    }
    return value;
}

}  // namespace

IPControlCore::IPControlCore()
    : m_serviceManager(nullptr),
      m_accessManager(nullptr),
      m_serverManager(nullptr),
      m_deviceManager(nullptr),
      m_uiManager(nullptr),
      m_upnpDeviceManager(nullptr),
      m_serviceController(nullptr),
      m_bStarted(false) {
    instance = this;
}

IPControlCore::~IPControlCore() {
    instance = nullptr;
    delete m_serviceController;
    delete m_upnpDeviceManager;
    delete m_uiManager;
    delete m_deviceManager;
    delete m_serverManager;
    delete m_accessManager;
    delete m_serviceManager;
}

bool IPControlCore::create() {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    system_settings_set_changed_cb(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT,
                                   ip_remote_support_change_cb, this);
    int enabled = readIpRemoteSupport();
    LOGI("IP_REMOTE_SUPPORT nEnabled:%d", enabled);
    if (enabled == 1 && isFactoryEnable()) {
        start();
    }
    return true;
}

bool IPControlCore::destroy() {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    system_settings_unset_changed_cb(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT);
    stop();
    return true;
}

void IPControlCore::start() {
    LOGI("app_id:%s  app_version:%s", AppInfo::GetId().c_str(), AppInfo::GetVersion().c_str());
    if (isStarted()) {
        return;
    }
    // The HTTP server listens (step 6) before the controller wires the pipeline (step 7).
    replace(m_uiManager, new UIManager())->create();
    replace(m_deviceManager, new DeviceManager())->create();
    replace(m_accessManager, new AccessManager())->create();
    replace(m_serviceManager, new ServiceManager())->create();
    UPnPDeviceManager* upnp = replace(m_upnpDeviceManager, new UPnPDeviceManager());
    upnp->create();
    upnp->start();
    ServerManager* server = replace(m_serverManager, new ServerManager());
    server->create();
    const bool listening = server->start();
    replace(m_serviceController, new ServiceController())->create();
    setStarted(true);
    if (listening) {
        LOGI("IP control service started");
    } else {
        LOGE("IP control service is up but no client can reach it");
    }
}

void IPControlCore::stop() {
    if (!isStarted()) {
        return;
    }
    if (m_serviceController != nullptr) {
        m_serviceController->destroy();
    }
    if (m_deviceManager != nullptr) {
        m_deviceManager->destroy();
    }
    if (m_serverManager != nullptr) {
        m_serverManager->stop();
        m_serverManager->destroy();
    }
    if (m_upnpDeviceManager != nullptr) {
        m_upnpDeviceManager->stop();
        m_upnpDeviceManager->destroy();
    }
    if (m_uiManager != nullptr) {
        m_uiManager->destroy();
    }
    if (m_accessManager != nullptr) {
        m_accessManager->destroy();
    }
    if (m_serviceManager != nullptr) {
        m_serviceManager->destroy();
    }
    setStarted(false);
}

bool IPControlCore::isFactoryEnable() {
    bool available = false;
    if (system_info_get_custom_bool(kServiceAvailableKey, &available) != SYSTEM_INFO_ERROR_NONE) {
        LOGE("Fail to read %s", kServiceAvailableKey);
        available = false;
    }
    LOGI("bServiceAvailable:%d", available);
    return available;
}

bool IPControlCore::isStarted() {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return m_bStarted;
}

void IPControlCore::setStarted(bool started) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_bStarted = started;
}

void ip_remote_support_change_cb(system_settings_key_e /*key*/, void* userData) {
    if (userData == nullptr) {
        return;
    }
    auto* core = static_cast<IPControlCore*>(userData);
    LOGI("IP_REMOTE_SUPPORT change handling start");
    int value = readIpRemoteSupport();
    LOGI("IP_REMOTE_SUPPORT value:%d", value);
    if (value != 1) {
        LOGI("STOPPING IP_REMOTE");
        if (core->getAccessManager() != nullptr) {
            core->stop();
        }
    } else if (core->isFactoryEnable()) {
        LOGI("STARTING IP_REMOTE");
        core->start();
    } else {
        LOGI("IP Control Factory disabled");
    }
    LOGI("IP_REMOTE_SUPPORT change handling finish");
}
