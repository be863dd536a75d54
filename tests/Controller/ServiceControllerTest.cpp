// The controller's wiring where no request shows it: the device side's controls and empty hooks
// after destroy. The request and pairing end-to-end tests
// prove that each pipeline hook reaches its manager.
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Controller/ServiceController.h"
#include "Core/FakeManagers.h"
#include "Core/IPControlCore.h"
#include "Manager/AccessManager.h"
#include "Manager/DeviceManager.h"
#include "Manager/ServerManager.h"
#include "Manager/ServiceManager.h"
#include "support/PlatformTest.h"

namespace {

// The managers are the recording stand-ins; the controller and the core are real.
class ServiceControllerTest : public testsupport::PlatformTest {
protected:
    void SetUp() override {
        startPlatform();
        m_core = std::make_unique<IPControlCore>();
        managerCalls().clear();  // what earlier tests' teardown recorded
    }

    void TearDown() override {
        m_core.reset();
        PlatformTest::TearDown();
    }

    // Starts the core, which builds the stand-ins and lets the controller wire them.
    void startCore() {
        m_core->start();
        managerCalls().clear();
    }

    static std::vector<std::string> takeCalls() {
        std::vector<std::string> calls = managerCalls();
        managerCalls().clear();
        return calls;
    }

    std::unique_ptr<IPControlCore> m_core;
};

TEST_F(ServiceControllerTest, DeviceControlsStartStopUPnPAndEraseThePopup) {
    startCore();
    DeviceManager* device = m_core->getDeviceManager();
    for (const char* command : {"on", "off", "reboot", "anything"}) {
        device->m_upnpControlHook(command);
    }
    for (const char* command : {"off", "on"}) {
        device->m_popupControlHook(command);
    }
    EXPECT_EQ((std::vector<std::string>{"UPnPDeviceManager::start", "UPnPDeviceManager::stop",
                                        "AccessManager::erasePopup"}),
              takeCalls());
}

TEST_F(ServiceControllerTest, DestroyEmptiesEveryHook) {
    startCore();
    m_core->getServiceController()->destroy();
    ServiceManager* pipeline = m_core->getServiceManager();
    DeviceManager* device = m_core->getDeviceManager();
    EXPECT_FALSE(pipeline->m_sendResponseHook.isSet());
    EXPECT_FALSE(pipeline->m_sendAccessDeniedHook.isSet());
    EXPECT_FALSE(pipeline->m_getPeerMacAddressHook.isSet());
    EXPECT_FALSE(pipeline->m_accessTokenCheckInAuthGroupHook.isSet());
    EXPECT_FALSE(pipeline->m_macAddressCheckInDeniedGroupHook.isSet());
    EXPECT_FALSE(pipeline->m_issueAccessTokenHook.isSet());
    EXPECT_FALSE(pipeline->m_showMessageHook.isSet());
    EXPECT_FALSE(pipeline->m_runCommandHook.isSet());
    EXPECT_FALSE(m_core->getServerManager()->m_processJsonRequestHook.isSet());
    EXPECT_THROW(m_core->getAccessManager()->notifyAccessToken("token"), std::bad_function_call);
    EXPECT_FALSE(device->m_enqueueForResponseHook.isSet());
    EXPECT_FALSE(device->m_upnpControlHook.isSet());
    EXPECT_FALSE(device->m_popupControlHook.isSet());
}

}  // namespace
