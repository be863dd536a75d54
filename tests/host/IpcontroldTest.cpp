// ipcontrold end to end: the settings file as the switch, clean stop, and start-up refusals.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include <gtest/gtest.h>

#include "support/DaemonProcess.h"
#include "support/HttpClient.h"
#include "support/PlatformFixture.h"
#include "support/RunningTv.h"

using testsupport::TempDir;

namespace {

const std::string kDaemon = IPCONTROLD_PATH;

class IpcontroldTest : public ::testing::Test {
protected:
    // Changes one value in the settings file, in place or the way an editor that saves safely
    // does: a new file renamed over the old.
    void editSettings(const std::string& from, const std::string& to, bool byRename) {
        std::string path = m_dir.file("settings.ini");
        std::string text = testsupport::readFile(path);
        size_t at = text.find(from);
        ASSERT_NE(std::string::npos, at) << text;
        text.replace(at, from.size(), to);
        testsupport::writeFile(byRename ? path + ".new" : path, text);
        ASSERT_TRUE(!byRename || rename((path + ".new").c_str(), path.c_str()) == 0);
    }

    TempDir m_dir;
    testsupport::DaemonProcess m_daemon;
};

// --no-upnp wins over a UPnP port given as well, also when the service starts again.
TEST_F(IpcontroldTest, SettingsFileEditsSwitchTheServiceOffAndOnWithoutUpnp) {
    ASSERT_TRUE(m_daemon.start(kDaemon, {"--data-dir", m_dir.path(), "--no-upnp", "--upnp-port",
                                         "0", "--port", "0", "--admin-port", "0"}));
    ASSERT_TRUE(m_daemon.waitForOutput("IP_REMOTE_SUPPORT nEnabled:1")) << m_daemon.output();
    editSettings("ipRemoteSupport=1", "ipRemoteSupport=0", true);
    EXPECT_TRUE(m_daemon.waitForOutput("STOPPING IP_REMOTE")) << m_daemon.output();
    editSettings("ipRemoteSupport=0", "ipRemoteSupport=1", false);
    EXPECT_TRUE(m_daemon.waitForOutput("STARTING IP_REMOTE")) << m_daemon.output();

    m_daemon.signal(SIGINT);
    EXPECT_EQ(0, m_daemon.waitForExit()) << m_daemon.output();
    for (const char* upnp : {"UPnP description server on", "IPControlServer device started"}) {
        EXPECT_EQ(std::string::npos, m_daemon.output().find(upnp)) << m_daemon.output();
    }
}

struct BadStart {
    const char* what;
    std::vector<std::string> args;
    const char* mentions;
};

TEST(IpcontroldRefusal, BadStartupInputGivesOneLineAndExitCodeTwo) {
    TempDir dir;
    testsupport::writeFile(dir.file("settings.ini"), "[settings\nipRemoteSupport=1\n");
    TempDir okDir;
    const std::string badTv = okDir.file("bad-tv.json");
    testsupport::writeFile(badTv, R"({"tv": {"knobs": {"latencyMs": "slow"}}})");
    const std::string config = okDir.file("ipcontrold.conf");
    testsupport::writeFile(config, "# comment\nport = 1600\napproval = maybe\nwhat = 1\n");
    const std::string badValue = okDir.file("bad-value.conf");
    testsupport::writeFile(badValue, "\nupnp-port = lots\n");
    const std::string twice = okDir.file("twice.conf");
    testsupport::writeFile(twice, "port = 1\nport = 2\n");
    const std::string overridden = okDir.file("overridden.conf");
    testsupport::writeFile(overridden, "approval = maybe\nprofile = no-such-tv\n");
    const std::vector<BadStart> cases = {
        {"unknown option", {"--frobnicate"}, "--frobnicate"},
        {"port out of range", {"--data-dir", okDir.path(), "--port", "70000"}, "--port"},
        {"unknown approval", {"--data-dir", okDir.path(), "--approval", "maybe"}, "--approval"},
        {"unknown security mode",
         {"--data-dir", okDir.path(), "--security", "strict"},
         "--security must be default or hardened"},
        {"missing profile", {"--data-dir", okDir.path(), "--profile", "no-such-tv"}, "no-such-tv"},
        {"uncreatable data dir", {"--data-dir", "/proc/ipcontrol-test"}, "/proc/ipcontrol-test"},
        {"broken settings file", {"--data-dir", dir.path()}, "settings.ini"},
        {"broken tv section", {"--data-dir", okDir.path(), "--profile", badTv}, "bad-tv.json"},
        {"unknown config key", {"--config", config}, "ipcontrold.conf:4: unknown key 'what'"},
        {"bad config value", {"--config", badValue}, "bad-value.conf:2: upnp-port must be"},
        {"config key twice", {"--config", twice}, "twice.conf:2: key 'port' is already set"},
        {"missing config", {"--config", okDir.file("none.conf")}, "none.conf"},
        // The command line wins over the file: the bad approval there is never looked at.
        {"option over config",
         {"--config", overridden, "--approval", "allow", "--data-dir", okDir.path()},
         "no-such-tv"},
    };
    for (const BadStart& bad : cases) {
        std::string output;
        EXPECT_EQ(2, testsupport::runToExit(kDaemon, bad.args, output)) << bad.what;
        EXPECT_EQ(0u, output.find("ipcontrold: ")) << bad.what << ": " << output;
        EXPECT_NE(std::string::npos, output.find(bad.mentions)) << bad.what << ": " << output;
        EXPECT_EQ(1, std::count(output.begin(), output.end(), '\n')) << bad.what << ": " << output;
    }
}

// Another program holds the port the daemon is to use: the daemon says which and what to do,
// never tells a service manager it is ready, and exits with 1. The same for each of its ports.
TEST(IpcontroldRefusal, APortInUseIsSaidInWordsAndEndsTheDaemonBeforeReadiness) {
    unsigned short port = 0;
    const int holder = testsupport::holdLoopbackPort(port, true);
    ASSERT_GE(holder, 0);
    const std::string held = std::to_string(port);

    TempDir notifyDir;
    const int notify = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_un notifyAddress = {};
    notifyAddress.sun_family = AF_UNIX;
    const std::string notifyPath = notifyDir.file("notify");
    ASSERT_LT(notifyPath.size(), sizeof notifyAddress.sun_path);
    std::strcpy(notifyAddress.sun_path, notifyPath.c_str());
    ASSERT_EQ(0, bind(notify, reinterpret_cast<sockaddr*>(&notifyAddress), sizeof notifyAddress));
    setenv("NOTIFY_SOCKET", notifyPath.c_str(), 1);
    setenv("IPC_UPNP_INTERFACE", "lo", 1);

    for (const char* option : {"--port", "--admin-port", "--upnp-port"}) {
        TempDir dir;
        testsupport::RunningTv tv(dir.path());
        tv.enableUpnp();
        // The service itself may come up before the host gives up, so only the end counts.
        tv.start("allow", {option, held});
        EXPECT_EQ(1, tv.stop()) << tv.output();
        EXPECT_NE(std::string::npos,
                  tv.output().find("port " + held +
                                   " is already in use by another program; stop it or start "
                                   "with " +
                                   option + " N"))
            << tv.output();
        char datagram[256];
        EXPECT_EQ(-1, recv(notify, datagram, sizeof datagram, 0)) << option << " said ready";
    }
    unsetenv("NOTIFY_SOCKET");
    close(notify);
    close(holder);
}

}  // namespace
