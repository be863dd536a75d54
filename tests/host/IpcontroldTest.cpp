// ipcontrold end to end: start-up, the settings file as the switch, clean stop, and refusals.
#include <csignal>

#include <gtest/gtest.h>

#include "support/DaemonProcess.h"
#include "support/PlatformFixture.h"

using testsupport::DaemonProcess;
using testsupport::TempDir;

namespace {

const std::string kDaemon = IPCONTROLD_PATH;

class IpcontroldTest : public ::testing::Test {
protected:
    void startDaemon(std::vector<std::string> extra = {}) {
        std::vector<std::string> args = {"--data-dir", m_dir.path(), "--no-upnp", "--admin-port",
                                         "0"};
        args.insert(args.end(), extra.begin(), extra.end());
        ASSERT_TRUE(m_daemon.start(kDaemon, args));
        ASSERT_TRUE(m_daemon.waitForOutput("IP_REMOTE_SUPPORT nEnabled:1")) << m_daemon.output();
    }

    // Replaces the settings file the way an editor does: new file, then rename over the old.
    void editSettings(const std::string& from, const std::string& to) {
        std::string path = m_dir.file("settings.ini");
        std::string text = testsupport::readFile(path);
        size_t at = text.find(from);
        ASSERT_NE(std::string::npos, at) << text;
        text.replace(at, from.size(), to);
        testsupport::writeFile(path + ".new", text);
        ASSERT_EQ(0, rename((path + ".new").c_str(), path.c_str()));
    }

    TempDir m_dir;
    DaemonProcess m_daemon;
};

TEST_F(IpcontroldTest, StartsTheServiceAndStopsCleanlyOnSigterm) {
    startDaemon();
    EXPECT_TRUE(m_daemon.waitForOutput("bServiceAvailable:1"));
    EXPECT_TRUE(m_daemon.waitForOutput("app_id:com.orvane.ipcontrol"));
    m_daemon.signal(SIGTERM);
    EXPECT_EQ(0, m_daemon.waitForExit());
    EXPECT_NE(std::string::npos, m_daemon.output().find("stopped")) << m_daemon.output();
}

TEST_F(IpcontroldTest, SettingsFileEditsSwitchTheServiceOffAndOn) {
    startDaemon();
    editSettings("ipRemoteSupport=1", "ipRemoteSupport=0");
    EXPECT_TRUE(m_daemon.waitForOutput("STOPPING IP_REMOTE")) << m_daemon.output();

    // An edit in place (no rename) is picked up as well.
    std::string path = m_dir.file("settings.ini");
    std::string text = testsupport::readFile(path);
    text.replace(text.find("ipRemoteSupport=0"), 17, "ipRemoteSupport=1");
    testsupport::writeFile(path, text);
    EXPECT_TRUE(m_daemon.waitForOutput("STARTING IP_REMOTE")) << m_daemon.output();

    m_daemon.signal(SIGINT);
    EXPECT_EQ(0, m_daemon.waitForExit());
}

TEST_F(IpcontroldTest, BrokenSettingsEditKeepsPreviousValues) {
    startDaemon();
    editSettings("ipRemoteSupport=1", "ipRemoteSupport=yes please");
    ASSERT_TRUE(m_daemon.waitForOutput("settings.ini")) << m_daemon.output();
    EXPECT_EQ(0u, m_daemon.countOutput("STOPPING IP_REMOTE"));

    editSettings("ipRemoteSupport=yes please", "ipRemoteSupport=0");
    EXPECT_TRUE(m_daemon.waitForOutput("STOPPING IP_REMOTE")) << m_daemon.output();
    m_daemon.signal(SIGTERM);
    EXPECT_EQ(0, m_daemon.waitForExit());
}

TEST_F(IpcontroldTest, PrintsVersion) {
    std::string output;
    EXPECT_EQ(0, testsupport::runToExit(kDaemon, {"--version"}, output));
    EXPECT_EQ(0u, output.find("ipcontrold "));
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
    const std::vector<BadStart> cases = {
        {"unknown option", {"--frobnicate"}, "--frobnicate"},
        {"stray argument", {"--data-dir", okDir.path(), "extra"}, "extra"},
        {"port out of range", {"--data-dir", okDir.path(), "--port", "70000"}, "--port"},
        {"unknown approval", {"--data-dir", okDir.path(), "--approval", "maybe"}, "--approval"},
        {"unknown log level", {"--data-dir", okDir.path(), "--log-level", "loud"}, "--log-level"},
        {"missing profile", {"--data-dir", okDir.path(), "--profile", "no-such-tv"}, "no-such-tv"},
        {"uncreatable data dir", {"--data-dir", "/proc/ipcontrol-test"}, "/proc/ipcontrol-test"},
        {"broken settings file", {"--data-dir", dir.path()}, "settings.ini"},
    };
    for (const BadStart& bad : cases) {
        std::string output;
        EXPECT_EQ(2, testsupport::runToExit(kDaemon, bad.args, output)) << bad.what;
        EXPECT_EQ(0u, output.find("ipcontrold: ")) << bad.what << ": " << output;
        EXPECT_NE(std::string::npos, output.find(bad.mentions)) << bad.what << ": " << output;
        EXPECT_EQ(1, std::count(output.begin(), output.end(), '\n')) << bad.what << ": " << output;
    }
}

}  // namespace
