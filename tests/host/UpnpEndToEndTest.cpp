// ipcontrold announcing the TV as a UPnP root device on the loopback interface: discovery, the
// description and icons it serves, control faults, event subscriptions and a rename.
#include <chrono>
#include <cstdlib>
#include <fstream>
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

// An action request; the prolog goes between the XML declaration and the envelope.
std::string soapRequest(const std::string& action, const std::string& arguments = "",
                        const std::string& prolog = "") {
    return "<?xml version=\"1.0\"?>" + prolog +
           "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\"><s:Body><u:" +
           action + " xmlns:u=\"" + kServiceType + "\">" + arguments + "</u:" + action +
           "></s:Body></s:Envelope>";
}

std::string repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

// A process's resident memory in KiB, 0 when unknown.
long residentKiB(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    long kib = 0;
    for (std::string line; std::getline(status, line);) {
        std::sscanf(line.c_str(), "VmRSS: %ld kB", &kib);
    }
    return kib;
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
            << file << m_tv.output();
        m_uuid = match[1];
    }

    std::string requestText(const std::string& method, const std::string& path,
                            const std::string& headers = "", const std::string& body = "") const {
        return method + " " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(m_port) +
               "\r\n" + headers + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
               body;
    }
    static std::string controlHeaders(const std::string& soapAction) {
        return "Content-Type: text/xml; charset=\"utf-8\"\r\nSOAPACTION: \"" + soapAction +
               "\"\r\n";
    }
    // On a connection of its own, or on kept's (opened when closed, closed when the server
    // says so). A refusal may come before the whole body is sent; the answer still counts.
    HttpResponse request(const std::string& method, const std::string& path,
                         const std::string& headers = "", const std::string& body = "",
                         HttpClient* kept = nullptr) {
        HttpClient own;
        HttpClient& client = kept != nullptr ? *kept : own;
        if (!client.isOpen() && !client.connect(m_port)) {
            return HttpResponse();
        }
        client.send(requestText(method, path, headers, body));
        HttpResponse answer = client.read().value_or(HttpResponse());
        if (answer.status == 0 || answer.header("connection") == "close") {
            client.close();
        }
        return answer;
    }
    HttpResponse control(const std::string& soapAction, const std::string& body,
                         HttpClient* kept = nullptr) {
        return request("POST", kControlPath, controlHeaders(soapAction), body, kept);
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

// Every stop says goodbye for each resource, so control points forget the TV at once instead of
// after the announcement's max-age.
TEST_F(UpnpEndToEndTest, AnnouncedOnLoopbackAgainAfterARenameAndGoodbyeAtEveryStop) {
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
    for (const std::string& element :
         {"<deviceType>" + kDeviceType + "<", std::string("<friendlyName>[TV] Living Room<"),
          "<UDN>uuid:" + m_uuid + "<", "<controlURL>" + kControlPath + "<"}) {
        EXPECT_THAT(served.body, HasSubstr(element));
    }
    for (const char* icon : {"icon_SML.jpg", "icon_LRG.jpg", "icon_SML.png", "icon_LRG.png"}) {
        HttpResponse answer = request("GET", std::string("/") + icon);
        EXPECT_EQ(200, answer.status) << icon;
        EXPECT_THAT(answer.header("content-type"), HasSubstr(strstr(icon, "png") ? "png" : "jpeg"));
    }

    // A page loaded under another name (DNS rebinding) must not read the serial number.
    const std::string port = std::to_string(m_port);
    for (const std::string& host :
         std::vector<std::string>{"tv.example:" + port, "localhost:" + port, "127.0.0.1",
                                  "127.0.0.1:" + std::to_string(m_port + 1), std::string()}) {
        for (const std::string& path : std::vector<std::string>{
                 "/" + m_uuid + ".xml", "/icon_SML.png", "/IPControlService_1.xml"}) {
            HttpClient client;
            ASSERT_TRUE(client.connect(m_port));
            client.send("GET " + path + " HTTP/1.1\r\n" +
                        (host.empty() ? "" : "Host: " + host + "\r\n") + "\r\n");
            const HttpResponse answer = client.read().value_or(HttpResponse());
            EXPECT_NE(200, answer.status) << host << path;
            EXPECT_THAT(answer.body, Not(HasSubstr("serialNumber"))) << host << path;
        }
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

    // The service lists no action, so what the body holds does not matter.
    EXPECT_EQ(500, control(kServiceType + "#Foo", "<s:Envelope><s:Body>").status);
    EXPECT_NE(413, control(kServiceType + "#Foo", std::string(64 * 1024, 'x')).status);
    EXPECT_EQ(413, control(kServiceType + "#Foo", std::string(64 * 1024 + 1, 'x')).status);

    // A fault leaves a kept-alive connection usable; an answer that ends it says so.
    HttpClient client;
    EXPECT_EQ(500, control(kServiceType + "#Foo", soapRequest("Foo"), &client).status);
    ASSERT_TRUE(client.isOpen());
    EXPECT_EQ(200, request("GET", "/" + m_uuid + ".xml", "", "", &client).status);
    ASSERT_TRUE(client.isOpen());
    client.send(requestText("POST", kControlPath,
                            controlHeaders(kServiceType + "#Foo") + "Connection: close\r\n",
                            soapRequest("Foo")));
    HttpResponse last = client.read().value_or(HttpResponse());
    EXPECT_EQ(500, last.status);
    EXPECT_EQ("close", last.header("connection"));
    EXPECT_TRUE(client.waitClosed());
}

// Hostile control bodies leave no memory behind. Two levels of entities in 13.5 KB would stand
// for 450 MB of text once read. GUPnP keeps every action name it is asked for: 2,000 names of
// 8 KB would be 16 MB for good. Each request may leave some memory behind under the sanitizers
// whatever its name, so the growth of as many requests with one name is taken off.
TEST_F(UpnpEndToEndTest, EntitiesAndManyActionNamesAreRefusedBeforeTheyTakeMemory) {
    // Under AddressSanitizer freed memory waits in a quarantine of up to 256 MB before reuse;
    // without it the daemon's resident memory tells what requests leave behind.
    const char* options = std::getenv("ASAN_OPTIONS");
    const std::string saved = options != nullptr ? options : "";
    setenv("ASAN_OPTIONS", (saved + (saved.empty() ? "" : ":") + "quarantine_size_mb=0").c_str(),
           1);
    start();
    setenv("ASAN_OPTIONS", saved.c_str(), 1);
    const std::string body =
        soapRequest("Foo", "<A>" + repeated("&b;", 3000) + "</A>",
                    "<!DOCTYPE s:Envelope [<!ENTITY a \"" + std::string(100, 'a') +
                        "\"><!ENTITY b \"" + repeated("&a;", 1500) + "\">]>");
    const long beforeEntities = residentKiB(m_tv.pid());
    HttpResponse answer = control(kServiceType + "#Foo", body);
    EXPECT_EQ(500, answer.status);
    EXPECT_THAT(answer.body, HasSubstr("<errorCode>402</errorCode>"));
    EXPECT_LT(residentKiB(m_tv.pid()) - beforeEntities, 4 * 1024) << "KiB more after entities";

    HttpClient connection;
    auto send = [&](const std::string& prefix, int count, bool distinct) {
        for (int i = 0; i < count; ++i) {
            const std::string name =
                prefix + (distinct ? std::to_string(i) : "") + std::string(8000, 'x');
            HttpResponse answer =
                control(kServiceType + "#" + name, soapRequest(name), &connection);
            ASSERT_EQ(500, answer.status) << name.substr(0, 12);
            ASSERT_THAT(answer.body, HasSubstr("<errorCode>401</errorCode>"));
        }
    };
    send("Warm", 100, true);  // the buffers every request needs
    const long start = residentKiB(m_tv.pid());
    send("Same", 2000, false);
    const long sameName = residentKiB(m_tv.pid());
    send("Name", 2000, true);
    const long distinctNames = residentKiB(m_tv.pid());
    EXPECT_LT((distinctNames - sameName) - (sameName - start), 1024)
        << "KiB: " << start << ", " << sameName << " after one name, " << distinctNames
        << " after distinct names";
    EXPECT_EQ(0, m_tv.stop()) << m_tv.output();
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

}  // namespace
