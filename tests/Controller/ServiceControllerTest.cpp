// The controller's wiring where no request shows it: the device side's controls. The request and
// pairing end-to-end tests prove that each pipeline hook reaches its manager.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Core/FakeManagers.h"
#include "Core/IPControlCore.h"
#include "Manager/DeviceManager.h"
#include "support/PlatformTest.h"

namespace {

// The managers are the recording stand-ins; the controller and the core are real.
class ServiceControllerTest : public testsupport::PlatformTest {};

TEST_F(ServiceControllerTest, DeviceControlsStartStopUPnPAndEraseThePopup) {
    startPlatform();
    IPControlCore core;
    core.start();  // builds the stand-ins and lets the controller wire them
    managerCalls().clear();
    DeviceManager* device = core.getDeviceManager();
    for (const char* command : {"on", "off", "reboot", "anything"}) {
        device->m_upnpControlHook(command);
    }
    for (const char* command : {"off", "on"}) {
        device->m_popupControlHook(command);
    }
    EXPECT_EQ((std::vector<std::string>{"UPnPDeviceManager::start", "UPnPDeviceManager::stop",
                                        "AccessManager::erasePopup"}),
              managerCalls());
}

}  // namespace
