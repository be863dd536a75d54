// Tests of the device and service framework over a recording stand-in of the UPnP library.
#include <gtest/gtest.h>

#include "EventPropertySet.h"
#include "FakeUcf.h"
#include "SoapBody.h"
#include "UpnpAction.h"
#include "UpnpDevice.h"
#include "UpnpService.h"
#include "UpnpServiceGlobal.h"
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
<scpd xmlns="urn:schemas-upnp-org:service-1-0"><actionList>
<action><name>GetState</name></action><action><name>Fail</name></action>
</actionList><serviceStateTable/></scpd>
)";

std::string fault(int code, const std::string& description) {
    return "<s:Fault><faultcode>s:Client</faultcode><faultstring>UPnPError</faultstring><detail>"
           "<UPnPError xmlns=\"urn:schemas-upnp-org:control-1-0\"><errorCode>" +
           std::to_string(code) + "</errorCode><errorDescription>" + description +
           "</errorDescription></UPnPError></detail></s:Fault>";
}

// Answers GetState with State="a<b", remembers the action; leaves Fail to the base.
class RemoteService : public UpnpService {
public:
    RemoteService() : UpnpService(kType) {}
    UpnpError dispatchAction(UpnpAction& action) override {
        calls++;
        nameBased = action.cpInfo().get(UpnpAction::kDeviceTypeNameBased);
        mac = action.getCpMac();
        if (action.getName() != "GetState")
            return UpnpService::dispatchAction(action);
        action.outArguments().add("State", "a<b");
        return UpnpError::SUCCESS();
    }
    int calls = 0;
    std::string nameBased;
    std::string mac;
};

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
    // Sends an action through the handler the framework installed for the service type.
    fakeucf::Response act(const std::string& type, const std::string& action,
                          const char* deviceName = "[Phone]Kitchen") {
        ucf_action_argument args[] = {{"Arg", "1"}};
        ucf_control_point_info cp{"eth0", "10.0.0.2", "aa:bb", deviceName, "UA", "id"};
        int context = 0;
        fakeucf::state().actionHandlers.at(kType)(action.c_str(), type.c_str(), args, 1, &cp,
                                                  &context, nullptr);
        EXPECT_EQ(1u, fakeucf::state().responses.size());
        EXPECT_EQ(&context, fakeucf::state().responses.back().context);
        return fakeucf::state().responses.back();
    }

    testsupport::TempDir m_dir;
    testsupport::LogCapture m_log;
    std::unique_ptr<UpnpDevice> m_device;
    RemoteService m_service;
};

}  // namespace

TEST(UpnpBodiesTest, ResponseFaultAndEventTextsAreExact) {
    ActionOutArguments out;
    out.add("A", "1");
    out.add("B", "x<y");
    std::string body;
    GenerateSOAPResponseBody("Get", "urn:s:1", out, body);
    EXPECT_EQ("<u:GetResponse xmlns:u=\"urn:s:1\"><A>1</A>\r\n<B>x&lt;y</B>\r\n</u:GetResponse>",
              body);

    GenerateSOAPErrorBody(UpnpError::E404_INVALID_VAR(), body);
    EXPECT_EQ(fault(404, "Invalid Var"), body);
    GenerateSOAPErrorBody(UpnpError(600, std::string(1000, 'x')), body);
    EXPECT_EQ(511u, body.size());

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

TEST(UpnpCpTypeTest, ExtractsNameAndUserAgentTypes) {
    struct Case {
        const char* name;
        const char* agent;
        const char* nameBased;
        const char* glintBased;
    } cases[] = {{"[Phone]Kitchen", "x_SVMA", "Phone", "MobileAndroid"},
                 {"[]x", "x_SVMI", "", "MobileIos"},
                 {"[abc", "_SVP", "", "PC"},
                 {"[]", "_SVMA_SVMI", "", "MobileAndroid"},
                 {"Phone", "other", "", ""}};
    for (const Case& c : cases) {
        std::string nameBased = "stale", glintBased = "stale";
        UpnpServiceGlobal::extractCpDeviceType(c.name, c.agent, nameBased, glintBased);
        EXPECT_EQ(c.nameBased, nameBased) << c.name;
        EXPECT_EQ(c.glintBased, glintBased) << c.agent;
    }
}

TEST_F(UpnpFrameworkTest, InitFailureAtEachStepLogsAndUndoesNothing) {
    const std::vector<std::pair<std::string, std::string>> steps = {
        {"init_framework_core", "InitFrameworkCore failed"},
        {"configure_servers", "ConfigureServers failed"},
        {"configure_application_on_all_interfaces", "ConfigureApplicationOnAllInterfaces failed"},
        {"start_framework_core", "StartFrameworkCore failed"},
        {"start_network_monitor", "StartNetworkMonitor failed"},
        {"initialize_upnp", "InitializeUPnP failed"}};
    for (size_t i = 0; i < steps.size(); ++i) {
        fakeucf::reset();
        m_log.clear();
        fakeucf::state().results[steps[i].first] = 1;
        EXPECT_FALSE(m_device->init());
        EXPECT_TRUE(m_log.contains(steps[i].second)) << steps[i].second;
        EXPECT_EQ(i + 1, fakeucf::state().calls.size()) << steps[i].first;
    }
}

TEST_F(UpnpFrameworkTest, FinitRunsEveryStepDespiteFailures) {
    const std::pair<const char*, const char*> steps[] = {
        {"terminate_upnp", "TerminateUPnP() failed"},
        {"stop_network_monitor", "StopNetworkMonitor() failed"},
        {"stop_framework_core", "StopFrameworkCore() failed"},
        {"terminate_framework_core", "TerminateFrameworkCore() failed"}};
    for (const auto& [step, text] : steps) {
        fakeucf::state().results[step] = 1;
    }
    EXPECT_FALSE(m_device->finit());
    ASSERT_EQ(std::size(steps), fakeucf::state().calls.size());
    for (size_t i = 0; i < std::size(steps); ++i) {
        EXPECT_EQ(steps[i].first, fakeucf::state().calls[i]);
        EXPECT_TRUE(m_log.contains(steps[i].second)) << steps[i].second;
    }
}

TEST_F(UpnpFrameworkTest, ActionsAreRoutedByServiceTypeAndScpd) {
    registerRemote();
    const struct {
        const char* type;
        const char* action;
        int status;
        std::string body;
    } rows[] = {{"urn:other:1", "GetState", 500, fault(402, "Invalid Args")},
                {kType, "NotListed", 500, fault(401, "Invalid Action")},
                {kType, "Fail", 500, fault(501, "Action Failed")},
                {kType, "GetState", 200,
                 "<u:GetStateResponse xmlns:u=\"urn:test:service:Remote:1\"><State>a&lt;b</State>"
                 "\r\n</u:GetStateResponse>"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.type) + "#" + row.action);
        fakeucf::state().responses.clear();
        const fakeucf::Response r = act(row.type, row.action);
        EXPECT_EQ(row.status, r.status);
        EXPECT_EQ(row.body, r.body);
    }
    EXPECT_TRUE(m_log.contains("Unknown service: urn:other:1"));
    EXPECT_EQ(2, m_service.calls);  // never for an action its description does not list
    EXPECT_EQ("Phone", m_service.nameBased);
    EXPECT_EQ("mapped-aa:bb", m_service.mac);
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

TEST_F(UpnpFrameworkTest, RegistrationRefusesUnknownTypeAndDuplicates) {
    ASSERT_TRUE(m_device->initialize());
    UpnpService stranger("urn:test:service:Unknown:1");
    EXPECT_FALSE(m_device->registerService(&stranger));
    EXPECT_TRUE(
        m_log.contains("Can't find in device description serviceType:urn:test:service:Unknown:1"));
    registerRemote();
    EXPECT_FALSE(m_device->registerService(&m_service));
    m_service.unregisterService();
    fakeucf::state().results["set_subscribe"] = 1;
    EXPECT_FALSE(m_device->registerService(&m_service));
    EXPECT_TRUE(m_log.contains("RegisterServiceForSubscribe failed"));
    EXPECT_TRUE(fakeucf::state().actionHandlers.empty());
}
