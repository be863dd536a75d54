// The ipcontrol command line: defaults, global options before the command, usage errors.
#include <gtest/gtest.h>

#include "CommandLine.h"

namespace {

class CommandLineTest : public ::testing::Test {
protected:
    bool parse(const std::vector<std::string>& args) {
        m_error.clear();
        m_commandLine = CommandLine();
        return m_commandLine.parse(args, m_error);
    }

    CommandLine m_commandLine;
    std::string m_error;
};

TEST_F(CommandLineTest, TakesGlobalOptionsBeforeTheCommandElseTheLoopbackTvOnPort1516) {
    ASSERT_TRUE(parse({"pair"})) << m_error;
    EXPECT_EQ(CommandLine::Command::Pair, m_commandLine.command);
    EXPECT_EQ("127.0.0.1", m_commandLine.host);
    EXPECT_EQ(1516, m_commandLine.port);
    EXPECT_FALSE(m_commandLine.json);

    ASSERT_TRUE(parse({"--host", "tv.local", "--port=1515", "--json", "call", "powerControl",
                       "{\"power\": \"on\"}"}))
        << m_error;
    EXPECT_EQ(CommandLine::Command::Call, m_commandLine.command);
    EXPECT_EQ("tv.local", m_commandLine.host);
    EXPECT_EQ(1515, m_commandLine.port);
    EXPECT_TRUE(m_commandLine.json);
    EXPECT_EQ("powerControl", m_commandLine.method);
    EXPECT_EQ("{\"power\": \"on\"}", m_commandLine.params);

    ASSERT_TRUE(parse({"--host=::1", "--port", "8080", "call", "getTVStates"})) << m_error;
    EXPECT_EQ("::1", m_commandLine.host);
    EXPECT_EQ(8080, m_commandLine.port);
    EXPECT_EQ("", m_commandLine.params);
}

TEST_F(CommandLineTest, CommandsTakeTheirArgumentsAndOptionsAfterTheName) {
    ASSERT_TRUE(parse({"--port", "1515", "discover", "--timeout=1.5", "--interface", "lo"}))
        << m_error;
    EXPECT_EQ(CommandLine::Command::Discover, m_commandLine.command);
    EXPECT_TRUE(m_commandLine.portGiven);
    EXPECT_EQ(1500, m_commandLine.timeout.count());
    EXPECT_EQ("lo", m_commandLine.interface);

    ASSERT_TRUE(parse({"launch", "Internet", "--url", "http://example.com/"})) << m_error;
    EXPECT_EQ(std::vector<std::string>{"Internet"}, m_commandLine.args);
    EXPECT_EQ("http://example.com/", m_commandLine.url);
    EXPECT_FALSE(m_commandLine.portGiven);

    ASSERT_TRUE(parse({"key", "cursorDn", "enter"})) << m_error;
    EXPECT_EQ((std::vector<std::string>{"cursorDn", "enter"}), m_commandLine.args);
    ASSERT_TRUE(parse({"volume", "0"})) << m_error;
    ASSERT_TRUE(parse({"volume"})) << m_error;
    EXPECT_TRUE(m_commandLine.args.empty());
}

TEST_F(CommandLineTest, HelpAnywhereAsksForTheUsage) {
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"--help"}, {"-h"}, {"call", "--help"}, {"--port", "0", "-h"}}) {
        ASSERT_TRUE(parse(args)) << m_error;
        EXPECT_EQ(CommandLine::Command::Help, m_commandLine.command);
    }
    ASSERT_TRUE(parse({"--json", "volume", "--help"})) << m_error;
    EXPECT_EQ("volume", m_commandLine.helpTopic);
    EXPECT_NE(std::string::npos, CommandLine::usage("volume").find("volume [N|up|down]"));
}

TEST_F(CommandLineTest, RefusesUsageErrorsWithOneLine) {
    const struct {
        std::vector<std::string> args;
        const char* says;
    } cases[] = {
        {{"--json"}, "no command"},
        {{"--verbose", "pair"}, "unknown option '--verbose'"},
        {{"pair", "--json"}, "before the command"},
        {{"pair", "now"}, "wrong number of arguments for pair"},
        {{"call"}, "wrong number of arguments for call"},
        {{"call", "powerControl", "{}", "{}"}, "wrong number"},
        {{"volume", "abc"}, "from 0 to 100, up or down"},
        {{"volume", "101"}, "got '101'"},
        {{"power", "standby"}, "on, off or reboot"},
        {{"mute", "1"}, "on or off"},
        {{"key", "enter", "Enter"}, "unknown key 'Enter'"},
        {{"launch", "YouTube", "--url", "http://x/"}, "only with launch Internet"},
        {{"discover", "--timeout", "0"}, "from 0.1 to 60"},
        {{"discover", "--url", "x"}, "discover has no option '--url'"},
        {{"tokens", "show"}, "list or forget"},
        {{"call", "powerControl", "[1]"}, "must be a JSON object"},
        {{"--port", "0", "pair"}, "from 1 to 65535, got '0'"},
        {{"--port=15x6", "pair"}, "got '15x6'"},
        {{"--port"}, "--port needs a value"},
    };
    for (const auto& c : cases) {
        std::string joined;
        for (const std::string& arg : c.args) {
            joined += arg + " ";
        }
        EXPECT_FALSE(parse(c.args)) << joined;
        EXPECT_NE(std::string::npos, m_error.find(c.says)) << joined << "-> " << m_error;
        EXPECT_EQ(std::string::npos, m_error.find('\n')) << joined;
    }
}

}  // namespace
