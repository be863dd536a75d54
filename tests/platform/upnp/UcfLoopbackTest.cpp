// The UPnP layer on GUPnP over the loopback interface: a device with one evented variable, its
// main loop on a thread of its own as in the daemon, reached over SSDP and HTTP.
#include <glib.h>

#include <functional>
#include <future>
#include <mutex>
#include <chrono>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/HttpClient.h"
#include "support/PlatformFixture.h"
#include "support/UpnpPeers.h"
#include "ucf.h"

using testing::HasSubstr;
using testsupport::HttpClient;
using testsupport::HttpResponse;

// Under AddressSanitizer whole allocation stacks are kept, so that the UPnP libraries' own leaks
// (tests/lsan-upnp.supp, named in the test's environment) can be told apart from ours.
extern "C" const char* __asan_default_options() {
    return "fast_unwind_on_malloc=0";
}

namespace {

const std::string kDeviceType = "urn:test-com:device:Box:1";
const std::string kServiceType = "urn:test-com:service:Tuner:1";

// A device of its own for each test, told apart from the others running at the same time.
std::string description(const std::string& uuid) {
    return "<?xml version=\"1.0\"?><root xmlns=\"urn:schemas-upnp-org:device-1-0\"><specVersion>"
           "<major>1</major><minor>0</minor></specVersion><device><deviceType>" +
           kDeviceType +
           "</deviceType><friendlyName>Box</friendlyName><manufacturer>m</manufacturer><modelName>m"
           "</modelName><UDN>uuid:" +
           uuid + "</UDN><serviceList><service><serviceType>" + kServiceType +
           "</serviceType><serviceId>urn:test-com:serviceId:Tuner</serviceId><controlURL>/control"
           "</controlURL><eventSubURL>/event</eventSubURL><SCPDURL>/tuner.xml</SCPDURL></service>"
           "</serviceList></device></root>";
}
const std::string kServiceDescription =
    "<?xml version=\"1.0\"?><scpd xmlns=\"urn:schemas-upnp-org:service-1-0\"><specVersion>"
    "<major>1</major><minor>0</minor></specVersion><serviceStateTable><stateVariable "
    "sendEvents=\"yes\"><name>State</name>"
    "<dataType>string</dataType></stateVariable></serviceStateTable></scpd>";

std::string propertySet(const std::string& state) {
    return "<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">" +
           (state.empty() ? "" : "<e:property><State>" + state + "</State></e:property>") +
           "</e:propertyset>";
}

// The GLib default main context run on a thread of its own, as the daemon's main loop; the
// test thread hands it the ucf_* calls, which are main-loop only.
class MainLoopThread {
public:
    MainLoopThread()
        : m_loop(g_main_loop_new(nullptr, FALSE)), m_thread([this] { g_main_loop_run(m_loop); }) {}
    ~MainLoopThread() {
        run([this] { g_main_loop_quit(m_loop); });
        m_thread.join();
        g_main_loop_unref(m_loop);
    }
    // Runs work on the loop and waits for it.
    void run(const std::function<void()>& work) {
        std::promise<void> done;
        std::function<void()> task = [&] {
            work();
            done.set_value();
        };
        GSource* source = g_idle_source_new();
        g_source_set_callback(
            source,
            [](gpointer data) -> gboolean {
                (*static_cast<std::function<void()>*>(data))();
                return G_SOURCE_REMOVE;
            },
            &task, nullptr);
        g_source_attach(source, nullptr);
        g_source_unref(source);
        done.get_future().wait();
    }

private:
    GMainLoop* m_loop;
    std::thread m_thread;
};

class UcfLoopbackTest : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("IPC_UPNP_INTERFACE", "lo", 1);
        g_setenv("GIO_USE_PROXY_RESOLVER", "dummy", TRUE);  // events go straight to 127.0.0.1
        gchar* uuid = g_uuid_string_random();
        m_uuid = uuid;
        g_free(uuid);
        testsupport::writeFile(m_dir.file("box.xml"), description(m_uuid));
        testsupport::writeFile(m_dir.file("tuner.xml"), kServiceDescription);
        m_loop.run([this] {
            ASSERT_EQ(0, ucf_init_framework_core());
            ASSERT_EQ(0, ucf_configure_servers(0, 1900, 0));
            ASSERT_EQ(0, ucf_start_framework_core());
            ASSERT_EQ(0, ucf_register_device(m_dir.file("box.xml").c_str(), "test", &m_device));
            ucf_set_service_for_subscribe_cb(m_device.udn, kServiceType.c_str(), onSubscribe, this);
            ASSERT_EQ(0, ucf_start_device(m_device.handle));
        });
        // The server's port is known once the loopback context is up, a few loop turns later.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (m_port == 0 && std::chrono::steady_clock::now() < deadline) {
            m_loop.run([this] { m_port = static_cast<unsigned short>(ucf_get_server_port()); });
            if (m_port == 0) {
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
        }
        ASSERT_NE(0, m_port);
    }
    void TearDown() override {
        m_loop.run([this] {
            ucf_stop_device(m_device.handle);
            ucf_unregister_device(m_device.handle);
            ucf_terminate_framework_core();
        });
    }

    // Loop thread: the first event is the state set by the test.
    static void onSubscribe(const char*, const char* sid, void* data) {
        auto* self = static_cast<UcfLoopbackTest*>(data);
        std::lock_guard<std::mutex> lock(self->m_mutex);
        ucf_send_initial_event(self->m_device.handle, "/event", sid,
                               propertySet(self->m_firstState).c_str());
    }
    void setFirstState(const std::string& state) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_firstState = state;
    }

    // Subscribes the listener; the subscription's first NOTIFY (others are skipped).
    std::optional<HttpResponse> subscribeForFirstEvent(testsupport::CallbackListener& callback) {
        HttpClient client;
        if (!client.connect(m_port) ||
            !client.send("SUBSCRIBE /event HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(m_port) +
                         "\r\nCALLBACK: <" + callback.url() + ">\r\nNT: upnp:event\r\n\r\n")) {
            return std::nullopt;
        }
        std::optional<HttpResponse> answer = client.read();
        const std::string sid = answer ? answer->header("sid") : "";
        std::optional<HttpResponse> notify;
        while (!sid.empty() && (notify = callback.receive()) &&
               (notify->header("sid") != sid || notify->header("seq") != "0")) {
        }
        return notify;
    }

    testsupport::TempDir m_dir;
    std::string m_uuid;
    MainLoopThread m_loop;
    unsigned short m_port = 0;
    ucf_device_info m_device{};
    std::mutex m_mutex;  // guards what the loop thread's callbacks share with the test
    std::string m_firstState;
};

TEST_F(UcfLoopbackTest, EverySubscribersFirstEventIsTheOneTheFrameworkGives) {
    testsupport::CallbackListener callback;
    setFirstState("one");
    // GUPnP reads the service description over HTTP after the start; until then a first NOTIFY
    // has no variable to carry. A subscriber that gets "one" shows it has been read.
    std::optional<HttpResponse> first;
    for (int i = 0; i < 20 && (first = subscribeForFirstEvent(callback)) &&
                    first->body.find("<State>one</State>") == std::string::npos;
         ++i) {
    }
    ASSERT_TRUE(first);
    ASSERT_THAT(first->body, HasSubstr("<State>one</State>"));

    // A later event changes the variable, not what a new subscriber is told first (GUPnP's own
    // first event would say "two").
    m_loop.run([this] {
        ucf_send_multicast_event(m_device.handle, m_device.udn, kServiceType.c_str(),
                                 propertySet("two").c_str());
    });
    // An empty first event reaches the daemon's subscribers end to end (UpnpEndToEndTest).
    setFirstState("three");
    first = subscribeForFirstEvent(callback);
    ASSERT_TRUE(first);
    EXPECT_THAT(first->body, HasSubstr("<State>three</State>"));
}

TEST_F(UcfLoopbackTest, ARenameWhileSuspendedStaysQuiet) {
    if (!testsupport::loopbackMulticastWorks()) {
        GTEST_SKIP() << "multicast on the loopback interface does not work on this machine";
    }
    testsupport::SsdpListener ssdp;
    ASSERT_TRUE(ssdp.ok());
    const std::set<std::string> resources = {"upnp:rootdevice", "uuid:" + m_uuid, kDeviceType,
                                             kServiceType};
    ASSERT_EQ(resources.size(), ssdp.collect("ssdp:alive", m_uuid, resources).size());
    m_loop.run([] { ASSERT_EQ(0, ucf_suspend_framework_core()); });
    EXPECT_EQ(resources.size(), ssdp.collect("ssdp:byebye", m_uuid, resources).size());

    // Nothing to wait for: a wrong announcement would come within GSSDP's pacing.
    m_loop.run([this] { ASSERT_EQ(0, ucf_set_friendly_name(m_device.handle, "Den", "")); });
    EXPECT_TRUE(ssdp.collect("ssdp:alive", m_uuid, resources, std::chrono::seconds(2)).empty());
    m_loop.run([] { ASSERT_EQ(0, ucf_resume_framework_core()); });
    EXPECT_EQ(resources.size(), ssdp.collect("ssdp:alive", m_uuid, resources).size());
}

}  // namespace
