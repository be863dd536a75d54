// The core's start and stop order and its reaction to the IP remote support setting.
#include <algorithm>
#include <memory>

#include <gtest/gtest.h>

#include "Core/FakeManagers.h"
#include "Core/IPControlCore.h"
#include "support/PlatformTest.h"
#include "system_settings.h"

using testsupport::drainMainLoop;
using testsupport::LogCapture;

namespace {

const std::vector<std::string> kStartOrder = {
    "UIManager::create",      "DeviceManager::create",     "AccessManager::create",
    "ServiceManager::create", "UPnPDeviceManager::create", "UPnPDeviceManager::start",
    "ServerManager::create",  "ServerManager::start",      "ServiceController::create"};

const std::vector<std::string> kStopOrder = {
    "ServiceController::destroy", "DeviceManager::destroy",  "ServerManager::stop",
    "ServerManager::destroy",     "UPnPDeviceManager::stop", "UPnPDeviceManager::destroy",
    "UIManager::destroy",         "AccessManager::destroy",  "ServiceManager::destroy"};

const char* const kAvailable = "\"convergence.ipcontrol.service_available\": true";
const char* const kUnavailable = "\"convergence.ipcontrol.service_available\": false";
// The core logs this when it has finished with a change of the setting.
const char* const kChangeHandled = "IP_REMOTE_SUPPORT change handling finish";

class IPControlCoreTest : public testsupport::PlatformTest {
protected:
    void TearDown() override {
        m_core.reset();
        PlatformTest::TearDown();
    }

    // Brings the platform up with the given availability key and IP remote support value.
    void startWith(const std::string& featureconf, int ipRemoteSupport) {
        startPlatform(featureconf);
        ASSERT_EQ(
            SYSTEM_SETTINGS_ERROR_NONE,
            system_settings_set_value_int(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, ipRemoteSupport));
        drainMainLoop();
        m_core = std::make_unique<IPControlCore>();
        managerCalls().clear();
    }

    // Changes the setting and waits until the core's callback has finished with it.
    void changeSetting(int value) {
        size_t before = m_log.count(kChangeHandled);
        ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
                  system_settings_set_value_int(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, value));
        ASSERT_TRUE(
            testsupport::pumpMainLoopUntil([&] { return m_log.count(kChangeHandled) > before; }));
    }

    std::vector<std::string> takeCalls() {
        std::vector<std::string> calls = managerCalls();
        managerCalls().clear();
        return calls;
    }

    LogCapture m_log;
    std::unique_ptr<IPControlCore> m_core;
};

// Destroy stops the managers but keeps them; only the core's destructor deletes them.
TEST_F(IPControlCoreTest, ManagersStartAndStopInOrderAndAreDeletedWithTheCore) {
    startWith(kAvailable, 1);
    EXPECT_TRUE(m_core->create());
    EXPECT_EQ(kStartOrder, takeCalls());
    EXPECT_TRUE(m_core->isStarted());
    EXPECT_EQ(m_core.get(), IPControlCore::instance);

    EXPECT_TRUE(m_core->destroy());
    EXPECT_EQ(kStopOrder, takeCalls());
    EXPECT_FALSE(m_core->isStarted());
    EXPECT_NE(nullptr, m_core->getAccessManager());

    m_core.reset();
    EXPECT_EQ(7u, takeCalls().size());
    EXPECT_EQ(nullptr, IPControlCore::instance);
}

// Unavailable (or no availability key) or switched off: neither create nor a later change of
// the setting starts anything.
TEST_F(IPControlCoreTest, StaysIdleWhenUnavailableOrSwitchedOff) {
    const struct {
        const char* featureconf;
        int setting;
        int changedTo;
    } cases[] = {{kUnavailable, 1, 0},
                 {"\"product.tv_year\": 23", 1, 0},
                 {kAvailable, 0, 2},
                 {kUnavailable, 0, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.featureconf) + " " + std::to_string(c.setting) + "→" +
                     std::to_string(c.changedTo));
        startWith(c.featureconf, c.setting);
        EXPECT_TRUE(m_core->create());
        changeSetting(c.changedTo);
        EXPECT_TRUE(takeCalls().empty());
        EXPECT_FALSE(m_core->isStarted());
        m_core.reset();
        ipc_platform::shutdown();
    }
}

// A start while started does nothing; any value but 1 stops, and 1 starts fresh managers.
TEST_F(IPControlCoreTest, AnyValueOtherThanOneStopsAndOneStartsFreshManagers) {
    startWith(kAvailable, 1);
    m_core->create();
    takeCalls();
    m_core->start();
    EXPECT_TRUE(takeCalls().empty());
    for (int value : {0, 2, -1}) {
        changeSetting(value);
        EXPECT_EQ(kStopOrder, takeCalls()) << "value " << value;
        EXPECT_FALSE(m_core->isStarted());

        changeSetting(1);
        EXPECT_TRUE(m_core->isStarted());
        std::vector<std::string> calls = takeCalls();
        ASSERT_GE(calls.size(), 2u);
        EXPECT_EQ("~UIManager", calls[0]);
        EXPECT_EQ("UIManager::create", calls[1]);
        EXPECT_NE(calls.end(), std::find(calls.begin(), calls.end(), "ServerManager::start"));
    }
}

TEST_F(IPControlCoreTest, DestroyWhileIdleRemovesTheSettingCallback) {
    startWith(kAvailable, 0);
    m_core->create();
    m_core->destroy();
    EXPECT_TRUE(takeCalls().empty());
    system_settings_set_value_int(SYSTEM_SETTINGS_KEY_IP_REMOTE_SUPPORT, 1);
    drainMainLoop();
    EXPECT_FALSE(m_log.contains("IP_REMOTE_SUPPORT change handling start"));
    EXPECT_FALSE(m_core->isStarted());
}

}  // namespace
