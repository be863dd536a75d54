// The ipcontrol executable against a running ipcontrold: what the everyday commands print and
// how they exit, the token file's life, and discovery on the loopback interface.
#include <cstdlib>
#include <regex>

#include <gtest/gtest.h>

#include "support/HttpClient.h"
#include "support/PlatformFixture.h"
#include "support/RunningTv.h"
#include "tools/CliRunner.h"

using common::json::JsonValue;

namespace {

class CliAgainstTvTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_tv.start()) << m_tv.output(); }

    // Runs ipcontrol against the TV; the exit code, with the output kept for said().
    int run(std::vector<std::string> args) {
        args.insert(args.begin(), {"--port", std::to_string(m_tv.port())});
        return m_cli.run(args);
    }
    // Runs a command that must succeed and returns what it printed.
    std::string output(const std::vector<std::string>& args) {
        EXPECT_EQ(0, run(args)) << m_cli.output();
        return m_cli.output();
    }
    bool said(const std::string& text) const { return m_cli.said(text); }

    testsupport::TempDir m_dir;
    testsupport::RunningTv m_tv{m_dir.path()};
    CliRunner m_cli;
};

TEST_F(CliAgainstTvTest, WritesAreReadBackInWordsAndJson) {
    ASSERT_EQ(0, run({"pair"})) << m_cli.output();
    EXPECT_EQ("Volume 20\n", output({"volume", "20"}));
    EXPECT_EQ("Volume 21\n", output({"volume", "up"}));
    EXPECT_EQ("Volume 21\n", output({"volume"}));
    EXPECT_EQ("Mute on\n", output({"mute", "on"}));
    EXPECT_EQ("Mute on\n", output({"mute"}));
    EXPECT_EQ("Power on\n", output({"power"}));
    EXPECT_EQ("Pressed cursorDn\nPressed enter\n", output({"key", "cursorDn", "enter"}));
    EXPECT_EQ("Input HDMI2\n", output({"input", "HDMI2"}));

    JsonValue state = JsonValue::Create(output({"--json", "state"}));
    EXPECT_EQ(21, state["result"]["volume"].asInt()) << state.toString();
    EXPECT_EQ("muteOn", state["result"]["mute"].asString());
    EXPECT_EQ("HDMI2", state["result"]["inputSource"].asString());
    EXPECT_TRUE(output({"state"}).find("Power          on\n") != std::string::npos)
        << m_cli.output();
}

TEST_F(CliAgainstTvTest, EachMistakeExitsWithItsCodeAndSaysWhatToDo) {
    EXPECT_EQ(8, run({"volume"}));
    EXPECT_TRUE(said("pair first")) << m_cli.output();

    ASSERT_EQ(0, run({"pair"})) << m_cli.output();
    EXPECT_EQ(10, run({"input", "HDMI9"}));
    EXPECT_TRUE(said("could not carry out 'input HDMI9'")) << m_cli.output();
    EXPECT_EQ(9, run({"call", "noSuchControl"}));
    EXPECT_TRUE(said("does not know the method 'noSuchControl'")) << m_cli.output();

    EXPECT_EQ(0, run({"tokens", "forget"})) << m_cli.output();
    EXPECT_EQ(8, run({"power"}));
    EXPECT_EQ(8, run({"tokens", "forget"}));
    EXPECT_TRUE(said("tokens list")) << m_cli.output();

    ASSERT_EQ(0, run({"pair"})) << m_cli.output();
    m_tv.stop();
    EXPECT_EQ(3, run({"power"}));
    EXPECT_TRUE(said("cannot be reached (Connection refused)")) << m_cli.output();
    EXPECT_EQ(3, m_cli.run({"--host", "tv.invalid", "pair"}));
    EXPECT_TRUE(said("unknown host")) << m_cli.output();
}

TEST(CliDiscoverTest, FindsTheTvAnnouncedOnLoopbackOnce) {
    if (!testsupport::loopbackMulticastWorks()) {
        GTEST_SKIP() << "multicast on the loopback interface does not work on this machine";
    }
    setenv("IPC_UPNP_INTERFACE", "lo", 1);
    testsupport::TempDir dir;
    testsupport::RunningTv tv(dir.path());
    tv.enableUpnp();
    ASSERT_TRUE(tv.start()) << tv.output();

    // Other services on this machine may answer too, on the same address; ours has our UDN.
    std::smatch udn;
    const std::string description =
        testsupport::readFile(dir.file("ip_control_web_root/DeviceDescription.xml"));
    ASSERT_TRUE(std::regex_search(description, udn, std::regex("<UDN>([^<]+)</UDN>")))
        << description << tv.output();
    // A proxy in the environment must not be used for the description on the local network.
    setenv("http_proxy", "http://127.0.0.1:9", 1);
    CliRunner cli;
    // A generous time: on a loaded machine the sanitized TV may answer late.
    ASSERT_EQ(0, cli.run({"--port", std::to_string(tv.port()), "--json", "discover", "--interface",
                          "lo", "--timeout", "5"}))
        << cli.output() << tv.output();
    // The list is the one line on stdout; library warnings on stderr may come before it.
    const std::string& text = cli.output();
    const size_t start = text.rfind("\n[") == std::string::npos ? 0 : text.rfind("\n[") + 1;
    JsonValue found = JsonValue::Create(text.substr(start));
    int ours = 0;
    for (size_t i = 0; i < found.size(); ++i) {
        if (found[i]["udn"].asString() == udn[1]) {
            ++ours;
            EXPECT_EQ("127.0.0.1", found[i]["address"].asString());
            EXPECT_EQ(tv.port(), found[i]["port"].asInt());
            EXPECT_EQ("[TV] Living Room", found[i]["name"].asString());
            EXPECT_NE("", found[i]["model"].asString());
        }
    }
    EXPECT_EQ(1, ours) << cli.output() << tv.output();
}

}  // namespace
