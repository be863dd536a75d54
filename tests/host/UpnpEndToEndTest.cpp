// ipcontrold announcing the TV as a UPnP root device on the loopback interface: discovery, the
// description and icons it serves, control faults, event subscriptions and a rename.
#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <regex>
#include <set>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/PlatformFixture.h"
#include "support/RunningTv.h"
#include "support/UpnpPeers.h"

using testing::HasSubstr;
using testing::Not;
using testsupport::CallbackListener;
using testsupport::HttpClient;
using testsupport::HttpResponse;
using testsupport::SsdpListener;

namespace {

const std::string kDeviceType = "urn:orvane-com:device:IPControlServer:1";
const std::string kServiceType = "urn:orvane-com:service:IPControlService:1";
const std::string kControlPath = "/upnp/control/IPControlService1";
const std::string kEventPath = "/upnp/event/IPControlService1";

// What the TV names itself with on SSDP and HTTP: its product, not the machine's kernel release.
const char* const kServerString = "Linux/[0-9.]+ UPnP/1\\.0 Orvane User-Agent DLNADOC/1\\.50";

std::string soapRequest(const std::string& action) {
    return "<?xml version=\"1.0\"?><s:Envelope "
           "xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\"><s:Body><u:" +
           action + " xmlns:u=\"" + kServiceType + "\"/></s:Body></s:Envelope>";
}

class UpnpEndToEndTest : public ::testing::Test {
protected:
    // UPnP on lo only; the port its server chose is read from the log, so that no case needs
    // discovery.
    void start() {
        setenv("IPC_UPNP_INTERFACE", "lo", 1);
        m_tv.enableUpnp();
        ASSERT_TRUE(m_tv.start()) << m_tv.output();
        m_port = m_tv.upnpPort();
        ASSERT_NE(0, m_port) << m_tv.output();
        std::smatch match;
        std::string file =
            testsupport::readFile(m_dir.file("ip_control_web_root/DeviceDescription.xml"));
        ASSERT_TRUE(std::regex_search(file, match, std::regex("<UDN>uuid:([^<]+)</UDN>")))
            << m_tv.output();
        m_uuid = match[1];
    }

    std::string requestText(const std::string& method, const std::string& path,
                            const std::string& headers = "", const std::string& body = "") const {
        return method + " " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(m_port) +
               "\r\n" + headers + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
               body;
    }
    std::string controlText(const std::string& soapAction, const std::string& body,
                            const std::string& headers = "") const {
        return requestText("POST", kControlPath,
                           "Content-Type: text/xml; charset=\"utf-8\"\r\nSOAPACTION: \"" +
                               soapAction + "\"\r\n" + headers,
                           body);
    }
    // One request on a connection of its own.
    HttpResponse send(const std::string& text) {
        HttpClient client;
        if (!client.connect(m_port)) {
            return HttpResponse();
        }
        // A refusal may come before the whole body is sent; the answer still counts.
        client.send(text);
        return client.read().value_or(HttpResponse());
    }
    HttpResponse request(const std::string& method, const std::string& path,
                         const std::string& headers = "", const std::string& body = "") {
        return send(requestText(method, path, headers, body));
    }
    HttpResponse control(const std::string& soapAction, const std::string& body) {
        return send(controlText(soapAction, body));
    }
    HttpResponse subscribe(const std::string& headers) {
        return request("SUBSCRIBE", kEventPath, headers + "TIMEOUT: Second-300\r\n");
    }
    std::string description() { return request("GET", "/" + m_uuid + ".xml").body; }
    // The NTs the device is announced under.
    std::set<std::string> resources() const {
        return {"upnp:rootdevice", "uuid:" + m_uuid, kDeviceType, kServiceType};
    }

    // Renames the TV and waits until the served description names the new name.
    void rename(const std::string& name) {
        ASSERT_EQ(200, m_tv.admin("PUT", "/api/settings/deviceName", "\"" + name + "\"").status);
        std::string wanted = "<friendlyName>" + name + "</friendlyName>";
        for (int i = 0; i < 50 && description().find(wanted) == std::string::npos; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        EXPECT_THAT(description(), HasSubstr(wanted));
    }

    testsupport::TempDir m_dir;
    testsupport::RunningTv m_tv{m_dir.path()};
    unsigned short m_port = 0;
    std::string m_uuid;
};

TEST_F(UpnpEndToEndTest, DiscoveredOnLoopbackAndAnnouncedAgainAfterARename) {
    if (!testsupport::loopbackMulticastWorks()) {
        GTEST_SKIP() << "multicast on the loopback interface does not work on this machine";
    }
    SsdpListener ssdp;
    ASSERT_TRUE(ssdp.ok());
    start();
    std::string location = "http://127.0.0.1:" + std::to_string(m_port) + "/" + m_uuid + ".xml";
    auto alive = ssdp.collect("ssdp:alive", m_uuid, resources());
    ASSERT_EQ(resources().size(), alive.size()) << m_tv.output();
    EXPECT_EQ(location, alive[kDeviceType]["location"]);
    EXPECT_THAT(alive[kDeviceType]["server"], testing::MatchesRegex(kServerString));
    rename("Kitchen");
    EXPECT_EQ(1u, ssdp.collect("ssdp:byebye", m_uuid, {kDeviceType}).size());
    alive = ssdp.collect("ssdp:alive", m_uuid, {kDeviceType});
    EXPECT_EQ(location, alive[kDeviceType]["location"]) << "no announcement after the rename";
}

// Control points forget the TV at once instead of after the announcement's max-age.
TEST_F(UpnpEndToEndTest, EveryStopSaysGoodbyeForEachResource) {
    if (!testsupport::loopbackMulticastWorks()) {
        GTEST_SKIP() << "multicast on the loopback interface does not work on this machine";
    }
    SsdpListener ssdp;
    ASSERT_TRUE(ssdp.ok());
    start();
    ASSERT_EQ(resources().size(), ssdp.collect("ssdp:alive", m_uuid, resources()).size());
    ASSERT_EQ(200, m_tv.admin("PUT", "/api/settings/ipRemoteSupport", "0").status);
    EXPECT_EQ(resources().size(), ssdp.collect("ssdp:byebye", m_uuid, resources()).size())
        << "IP remote support switched off";

    ASSERT_EQ(200, m_tv.admin("PUT", "/api/settings/ipRemoteSupport", "1").status);
    ASSERT_EQ(resources().size(), ssdp.collect("ssdp:alive", m_uuid, resources()).size());
    EXPECT_EQ(0, m_tv.stop());
    EXPECT_EQ(resources().size(), ssdp.collect("ssdp:byebye", m_uuid, resources()).size())
        << "SIGTERM\n"
        << m_tv.output();
    EXPECT_THAT(m_tv.output(), Not(HasSubstr(" W gupnp-service")));
}

TEST_F(UpnpEndToEndTest, ServesItsDescriptionAndIcons) {
    start();
    HttpResponse served = request("GET", "/" + m_uuid + ".xml");
    EXPECT_THAT(served.header("server"), testing::MatchesRegex(kServerString));
    std::string text = served.body;
    EXPECT_THAT(text, HasSubstr("<deviceType>" + kDeviceType + "</deviceType>"));
    EXPECT_THAT(text, HasSubstr("<friendlyName>[TV] Living Room</friendlyName>"));
    EXPECT_THAT(text, HasSubstr("<UDN>uuid:" + m_uuid + "</UDN>"));
    EXPECT_THAT(text, HasSubstr("<controlURL>" + kControlPath + "</controlURL>"));
    for (const char* icon : {"icon_SML.jpg", "icon_LRG.jpg", "icon_SML.png", "icon_LRG.png"}) {
        HttpResponse answer = request("GET", std::string("/") + icon);
        EXPECT_EQ(200, answer.status) << icon;
        EXPECT_THAT(answer.header("content-type"), HasSubstr(strstr(icon, "png") ? "png" : "jpeg"));
    }
}

TEST_F(UpnpEndToEndTest, ControlRequestsGetFaultsAndSizeLimit) {
    start();
    HttpResponse unknown = control(kServiceType + "#Foo", soapRequest("Foo"));
    EXPECT_EQ(500, unknown.status);
    EXPECT_THAT(unknown.body, HasSubstr("<errorCode>401</errorCode>"));
    EXPECT_THAT(unknown.body, HasSubstr("<errorDescription>Invalid Action</errorDescription>"));
    EXPECT_THAT(unknown.header("server"), testing::MatchesRegex(kServerString));

    HttpResponse otherService = control("urn:x:service:Other:1#Foo", soapRequest("Foo"));
    EXPECT_EQ(500, otherService.status);
    EXPECT_THAT(otherService.body, HasSubstr("<errorCode>402</errorCode>"));
    EXPECT_THAT(otherService.body, HasSubstr("<errorDescription>Invalid Args</errorDescription>"));

    int broken = control(kServiceType + "#Foo", "<s:Envelope><s:Body>").status;
    EXPECT_TRUE(broken >= 400 && broken < 500) << broken;
    EXPECT_NE(413, control(kServiceType + "#Foo", std::string(64 * 1024, 'x')).status);
    EXPECT_EQ(413, control(kServiceType + "#Foo", std::string(64 * 1024 + 1, 'x')).status);
    EXPECT_EQ(500, control(kServiceType + "#Foo", soapRequest("Foo")).status);

    // A fault leaves a kept-alive connection usable; an answer that ends it says so.
    HttpClient client;
    ASSERT_TRUE(client.connect(m_port));
    client.send(controlText(kServiceType + "#Foo", soapRequest("Foo")));
    EXPECT_EQ(500, client.read().value_or(HttpResponse()).status);
    client.send(requestText("GET", "/" + m_uuid + ".xml"));
    EXPECT_EQ(200, client.read().value_or(HttpResponse()).status);
    client.send(controlText(kServiceType + "#Foo", soapRequest("Foo"), "Connection: close\r\n"));
    HttpResponse last = client.read().value_or(HttpResponse());
    EXPECT_EQ(500, last.status);
    EXPECT_EQ("close", last.header("connection"));
    EXPECT_TRUE(client.waitClosed());
}

TEST_F(UpnpEndToEndTest, SubscribersGetEventsAndKeepThemAcrossARename) {
    // Events go straight to the subscriber, whatever proxy the environment names.
    setenv("http_proxy", "http://127.0.0.1:9", 1);
    start();
    CallbackListener callback;
    HttpResponse subscribed = subscribe("CALLBACK: <" + callback.url() + ">\r\nNT: upnp:event\r\n");
    ASSERT_EQ(200, subscribed.status);
    std::string sid = subscribed.header("sid");
    ASSERT_THAT(sid, testing::StartsWith("uuid:"));

    std::optional<HttpResponse> notify = callback.receive();
    ASSERT_TRUE(notify) << "no initial event";
    EXPECT_EQ("upnp:event", notify->header("nt"));
    EXPECT_EQ("upnp:propchange", notify->header("nts"));
    EXPECT_EQ("0", notify->header("seq"));
    EXPECT_EQ(sid, notify->header("sid"));
    EXPECT_THAT(notify->body, HasSubstr("propertyset"));
    EXPECT_THAT(notify->body, Not(HasSubstr("property>")));
    // The empty service description is expected, so nothing warns about it.
    EXPECT_THAT(m_tv.output(), Not(HasSubstr(" W gupnp-service")));

    EXPECT_EQ(412, subscribe("CALLBACK: <http://8.8.8.8:9555/cb>\r\nNT: upnp:event\r\n").status);
    EXPECT_EQ(412, subscribe("SID: uuid:00000000-0000-0000-0000-000000000000\r\n").status);

    rename("Kitchen");
    HttpResponse renewed = subscribe("SID: " + sid + "\r\n");
    EXPECT_EQ(200, renewed.status);
    EXPECT_EQ(sid, renewed.header("sid"));
    EXPECT_EQ(0, m_tv.stop()) << "unclean stop with a subscriber\n" << m_tv.output();
}

// Hosts holding half requests: one address gets only its share, a slow request is cut at its
// deadline however it trickles, and the description is served all along.
TEST_F(UpnpEndToEndTest, SlowClientsAreCutAndTheDescriptionStillServed) {
    start();
    std::vector<std::unique_ptr<HttpClient>> slow;
    int cutAtOnce = 0;
    for (int i = 0; i < 24; ++i) {
        slow.push_back(std::make_unique<HttpClient>());
        ASSERT_TRUE(slow.back()->connectFrom("127.0.1.1", m_port));
        slow.back()->send("GET / HTTP/1.1\r\nHost: 127.0.0.1\r\n");  // may be cut already
    }
    EXPECT_THAT(description(), HasSubstr(m_uuid));
    for (auto& client : slow) {
        cutAtOnce += client->waitClosed(std::chrono::milliseconds(200)) ? 1 : 0;
    }
    EXPECT_EQ(8, cutAtOnce);  // 16 per address

    // A byte every 200 ms: the header never completes, and the deadline (10 s) ends it.
    HttpClient trickle;
    ASSERT_TRUE(trickle.connectFrom("127.0.1.2", m_port));
    bool closed = false;
    for (int i = 0; i < 150 && !closed; ++i) {
        closed = !trickle.send("X") || trickle.waitClosed(std::chrono::milliseconds(200));
    }
    EXPECT_TRUE(closed);
    EXPECT_THAT(description(), HasSubstr(m_uuid));
}

TEST_F(UpnpEndToEndTest, NoUpnpServesNothing) {
    ASSERT_TRUE(m_tv.start("allow", {"--upnp-port", "0"})) << m_tv.output();
    EXPECT_THAT(m_tv.output(), Not(HasSubstr("UPnP description server on")));
    EXPECT_THAT(m_tv.output(), Not(HasSubstr("IPControlServer device started")));
}

}  // namespace
