// Tests of the device and service framework over a recording stand-in of the UPnP library.
#include <gtest/gtest.h>

#include "EventPropertySet.h"
#include "FakeUcf.h"
#include "UpnpDevice.h"
#include "UpnpService.h"
#include "support/PlatformFixture.h"

using namespace ip_control;

namespace {

const char* kType = "urn:test:service:Remote:1";

const char* kDevice = R"(<?xml version="1.0"?>
<root xmlns="urn:schemas-upnp-org:device-1-0"><device><friendlyName>TV</friendlyName>
<serviceList><service><serviceType>urn:test:service:Remote:1</serviceType>
<SCPDURL>/Remote_1.xml</SCPDURL><controlURL>/remote/control</controlURL>
<eventSubURL>/remote/event</eventSubURL></service></serviceList></device></root>
)";

const char* kScpd = R"(<?xml version="1.0"?>
<scpd xmlns="urn:schemas-upnp-org:service-1-0"><actionList/><serviceStateTable/></scpd>
)";

class UpnpFrameworkTest : public ::testing::Test {
protected:
    void SetUp() override {
        fakeucf::reset();
        testsupport::writeFile(m_dir.file("DeviceDescription.xml"), kDevice);
        testsupport::writeFile(m_dir.file("Remote_1.xml"), kScpd);
        m_device = std::make_unique<UpnpDevice>(m_dir.file("DeviceDescription.xml"), "ip_control",
                                                "Agent DLNADOC/1.50");
    }
    void TearDown() override {
        if (m_device->isRegistered(&m_service))
            m_service.unregisterService();
    }
    void registerRemote() {
        ASSERT_TRUE(m_device->initialize());
        ASSERT_TRUE(m_service.registerService(m_device.get()));
    }

    testsupport::TempDir m_dir;
    testsupport::LogCapture m_log;
    std::unique_ptr<UpnpDevice> m_device;
    UpnpService m_service{kType};
};

}  // namespace

TEST(UpnpEventTest, PropertySetTextIsExact) {
    EventPropertySet set;
    set.addProperty("", "ignored");
    set.addProperty("IPControlState", "");
    EXPECT_EQ("<e:property><IPControlState/></e:property>\r\n", set.getProperties());
    set.addProperty("V", "<");
    EXPECT_EQ(
        "<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">"
        "<e:property><IPControlState/></e:property>\r\n"
        "<e:property><V>&lt;</V></e:property>\r\n</e:propertyset>\r\n",
        set.getSoapEventMessage());
}

// Finit runs every step whatever fails, so that nothing stays running after a stop.
TEST_F(UpnpFrameworkTest, FinitRunsEveryStepDespiteFailures) {
    const std::vector<std::pair<std::string, std::string>> finit = {
        {"terminate_upnp", "TerminateUPnP() failed"},
        {"stop_network_monitor", "StopNetworkMonitor() failed"},
        {"stop_framework_core", "StopFrameworkCore() failed"},
        {"terminate_framework_core", "TerminateFrameworkCore() failed"}};
    for (const auto& [step, text] : finit) {
        fakeucf::state().results[step] = 1;
    }
    EXPECT_FALSE(m_device->finit());
    ASSERT_EQ(finit.size(), fakeucf::state().calls.size());
    for (size_t i = 0; i < finit.size(); ++i) {
        EXPECT_EQ(finit[i].first, fakeucf::state().calls[i]);
        EXPECT_TRUE(m_log.contains(finit[i].second)) << finit[i].second;
    }
}

TEST_F(UpnpFrameworkTest, SubscriptionSendsTheBodyTheServiceFilled) {
    registerRemote();
    fakeucf::state().subscribeHandlers[kType](kType, "uuid:sid-1", nullptr);
    ASSERT_EQ(1u, fakeucf::state().initialEvents.size());
    EXPECT_EQ("/remote/event|uuid:sid-1|", fakeucf::state().initialEvents[0]);

    EXPECT_TRUE(m_service.sendEventedVariable("IPControlState", "RUNNING"));
    ASSERT_EQ(1u, fakeucf::state().multicastEvents.size());
    EXPECT_NE(std::string::npos,
              fakeucf::state().multicastEvents[0].find("<IPControlState>RUNNING</IPControlState>"));

    m_service.unregisterService();
    EXPECT_TRUE(fakeucf::state().subscribeHandlers.empty());
    EXPECT_FALSE(m_service.sendEventedVariable("IPControlState", "STOPPED"));
}

// A registration that fails half way takes back the action handler it had set.
TEST_F(UpnpFrameworkTest, RegistrationRefusesUnknownTypeAndDuplicates) {
    ASSERT_TRUE(m_device->initialize());
    UpnpService stranger("urn:test:service:Unknown:1");
    EXPECT_FALSE(m_device->registerService(&stranger));
    EXPECT_TRUE(
        m_log.contains("Can't find in device description serviceType:urn:test:service:Unknown:1"));
    registerRemote();
    EXPECT_FALSE(m_device->registerService(&m_service));
    m_service.unregisterService();
    fakeucf::reset();
    fakeucf::state().results["set_subscribe"] = 1;
    EXPECT_FALSE(m_device->registerService(&m_service));
    EXPECT_TRUE(m_log.contains("RegisterServiceForSubscribe failed"));
    EXPECT_TRUE(fakeucf::called("unset_action_request_handler_cb"));
}
