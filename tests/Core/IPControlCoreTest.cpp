// The core's start and stop order and its reaction to the IP remote support setting.
#include <algorithm>
#include <memory>

#include <glib.h>
#include <gtest/gtest.h>

#include "Core/FakeManagers.h"
#include "Core/IPControlCore.h"
#include "support/PlatformFixture.h"
#include "system_settings.h"

using testsupport::LogCapture;
using testsupport::TempDir;

namespace {

const std::vector<std::string> kStartOrder = {
    "UIManager::create",        "DeviceManager::create",     "AccessManager::create",
    "ServiceManager::create",   "UPnPDeviceManager::create", "UPnPDeviceManager::start",
    "ServerManager(true)",      "ServerManager::create",     "ServerManager::start",
    "ServiceController::create"};

const std::vector<std::string> kStopOrder = {
    "ServiceController::destroy", "DeviceManager::destroy",  "ServerManager::stop",
    "ServerManager::destroy",     "UPnPDeviceManager::stop", "UPnPDeviceManager::destroy",
    "UIManager::destroy",         "AccessManager::destroy",  "ServiceManager::destroy"};

const char* const kAvailable = "\"convergence.ipcontrol.service_available\": true";
const char* const kUnavailable = "\"convergence.ipcontrol.service_available\": false";

class IPControlCoreTest : public ::testing::Test {
protected:
    void TearDown() override {
        m_core.reset();
        ipc_platform::shutdown();
    }

    // Brings the platform up with the given availability key and IP remote support value.
    void startPlatform(const std::string& featureconf, int ipRemoteSupport) {
        std::string error;
        ASSERT_TRUE(testsupport::startPlatform(m_dir, testsupport::makeProfile(featureconf), error))
            << error;
        ASSERT_EQ(
            SYSTEM_SETTINGS_ERROR_NONE,
            system_settings_set_value_int(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, ipRemoteSupport));
        drainMainLoop();
        m_core = std::make_unique<IPControlCore>();
        managerCalls().clear();
    }

    // Changes the setting and waits until the core's callback has finished with it.
    void changeSetting(int value) {
        size_t before = m_log.count("IP_REMOTE_SUPPORT change handling finish");
        ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
                  system_settings_set_value_int(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, value));
        ASSERT_TRUE(testsupport::pumpMainLoopUntil(
            [&] { return m_log.count("IP_REMOTE_SUPPORT change handling finish") > before; }));
    }

    static void drainMainLoop() {
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
    }

    std::vector<std::string> takeCalls() {
        std::vector<std::string> calls = managerCalls();
        managerCalls().clear();
        return calls;
    }

    TempDir m_dir;
    LogCapture m_log;
    std::unique_ptr<IPControlCore> m_core;
};

TEST_F(IPControlCoreTest, CreateStartsManagersInOrderWhenSettingOnAndServiceAvailable) {
    startPlatform(kAvailable, 1);
    EXPECT_TRUE(m_core->create());
    EXPECT_EQ(kStartOrder, takeCalls());
    EXPECT_TRUE(m_core->isStarted());
    EXPECT_TRUE(m_log.contains("IP_REMOTE_SUPPORT nEnabled:1"));
    EXPECT_EQ(m_core.get(), IPControlCore::instance);
}

TEST_F(IPControlCoreTest, CreateStaysIdleWhenServiceUnavailableOrKeyMissing) {
    startPlatform(kUnavailable, 1);
    EXPECT_TRUE(m_core->create());
    EXPECT_TRUE(takeCalls().empty());
    EXPECT_FALSE(m_core->isStarted());
    m_core.reset();
    ipc_platform::shutdown();

    startPlatform("\"product.tv_year\": 23", 1);
    EXPECT_TRUE(m_core->create());
    EXPECT_TRUE(takeCalls().empty());
    EXPECT_TRUE(m_log.contains("Fail to read"));
    EXPECT_TRUE(m_log.contains("bServiceAvailable:0"));
}

TEST_F(IPControlCoreTest, CreateStaysIdleWhenSettingOff) {
    startPlatform(kAvailable, 0);
    EXPECT_TRUE(m_core->create());
    EXPECT_TRUE(takeCalls().empty());
    EXPECT_TRUE(m_log.contains("IP_REMOTE_SUPPORT nEnabled:0"));
}

TEST_F(IPControlCoreTest, DestroyStopsManagersInOrderWithoutDeletingThem) {
    startPlatform(kAvailable, 1);
    m_core->create();
    takeCalls();
    EXPECT_TRUE(m_core->destroy());
    EXPECT_EQ(kStopOrder, takeCalls());
    EXPECT_FALSE(m_core->isStarted());
    EXPECT_NE(nullptr, m_core->getAccessManager());
}

TEST_F(IPControlCoreTest, RepeatedStartOnlyLogsApplicationInfo) {
    startPlatform(kAvailable, 1);
    m_core->create();
    takeCalls();
    m_core->start();
    EXPECT_TRUE(takeCalls().empty());
    EXPECT_EQ(2u, m_log.count("app_id:com.orvane.ipcontrol  app_version:"));
}

TEST_F(IPControlCoreTest, RestartDeletesPreviousGenerationWhenInstallingNewOne) {
    startPlatform(kAvailable, 1);
    m_core->create();
    m_core->stop();
    takeCalls();
    m_core->start();
    std::vector<std::string> calls = takeCalls();
    ASSERT_GE(calls.size(), 2u);
    EXPECT_EQ("~UIManager", calls[0]);
    EXPECT_EQ("UIManager::create", calls[1]);
    EXPECT_TRUE(m_core->isStarted());
}

TEST_F(IPControlCoreTest, DestructorDeletesEveryManager) {
    startPlatform(kAvailable, 1);
    m_core->create();
    m_core->destroy();
    takeCalls();
    m_core.reset();
    std::vector<std::string> calls = takeCalls();
    EXPECT_EQ(7u, calls.size());
    EXPECT_EQ(nullptr, IPControlCore::instance);
}

TEST_F(IPControlCoreTest, SettingOffStopsAndSettingOnStartsAgain) {
    startPlatform(kAvailable, 1);
    m_core->create();
    takeCalls();

    changeSetting(0);
    EXPECT_TRUE(m_log.contains("STOPPING IP_REMOTE"));
    EXPECT_EQ(kStopOrder, takeCalls());
    EXPECT_FALSE(m_core->isStarted());

    changeSetting(1);
    EXPECT_TRUE(m_log.contains("STARTING IP_REMOTE"));
    EXPECT_TRUE(m_core->isStarted());
    std::vector<std::string> calls = takeCalls();
    EXPECT_NE(calls.end(), std::find(calls.begin(), calls.end(), "ServerManager::start"));
}

TEST_F(IPControlCoreTest, AnyValueOtherThanOneStops) {
    startPlatform(kAvailable, 1);
    m_core->create();
    for (int value : {2, -1}) {
        if (!m_core->isStarted()) {
            changeSetting(1);
        }
        takeCalls();
        changeSetting(value);
        EXPECT_EQ(kStopOrder, takeCalls()) << "value " << value;
        EXPECT_TRUE(m_log.contains("IP_REMOTE_SUPPORT value:" + std::to_string(value)));
    }
}

TEST_F(IPControlCoreTest, SettingOffWhileIdleHasNoManagersToStop) {
    startPlatform(kAvailable, 0);
    m_core->create();
    changeSetting(2);
    EXPECT_TRUE(m_log.contains("STOPPING IP_REMOTE"));
    EXPECT_TRUE(takeCalls().empty());
}

TEST_F(IPControlCoreTest, SettingOnWithServiceUnavailableStaysIdle) {
    startPlatform(kUnavailable, 0);
    m_core->create();
    changeSetting(1);
    EXPECT_TRUE(m_log.contains("IP Control Factory disabled"));
    EXPECT_TRUE(takeCalls().empty());
    EXPECT_FALSE(m_core->isStarted());
}

TEST_F(IPControlCoreTest, DestroyWhileIdleRemovesTheSettingCallback) {
    startPlatform(kAvailable, 0);
    m_core->create();
    m_core->destroy();
    EXPECT_TRUE(takeCalls().empty());
    system_settings_set_value_int(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, 1);
    drainMainLoop();
    EXPECT_FALSE(m_log.contains("IP_REMOTE_SUPPORT change handling start"));
    EXPECT_FALSE(m_core->isStarted());
}

TEST_F(IPControlCoreTest, CallbackWithoutCoreIsIgnored) {
    startPlatform(kAvailable, 1);
    ip_remote_support_change_cb(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, nullptr);
    EXPECT_FALSE(m_log.contains("IP_REMOTE_SUPPORT change handling start"));
}

}  // namespace
