// The ipcontrol command line: option forms, help, and the one-line usage errors.
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

// The defaults, --json, call's method and parameters and the words of key and volume show in
// what the executable sends and prints (tests/tools/Cli*Test.cpp); here the forms only they take.
TEST_F(CommandLineTest, TakesOptionsWithOrWithoutEqualsAndCommandOptionsAfterTheName) {
    ASSERT_TRUE(parse({"--host=::1", "--port", "8080", "call", "getTVStates"})) << m_error;
    EXPECT_EQ("::1", m_commandLine.host);
    EXPECT_EQ(8080, m_commandLine.port);

    ASSERT_TRUE(parse({"--port=1515", "discover", "--timeout=1.5", "--interface", "lo"}))
        << m_error;
    EXPECT_EQ(CommandLine::Command::Discover, m_commandLine.command);
    EXPECT_EQ(1515, m_commandLine.port);
    EXPECT_TRUE(m_commandLine.portGiven);
    EXPECT_EQ(1500, m_commandLine.timeout.count());
    EXPECT_EQ("lo", m_commandLine.interface);

    ASSERT_TRUE(parse({"launch", "Internet", "--url", "http://example.com/"})) << m_error;
    EXPECT_EQ(std::vector<std::string>{"Internet"}, m_commandLine.args);
    EXPECT_EQ("http://example.com/", m_commandLine.url);
    EXPECT_FALSE(m_commandLine.portGiven);
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
        {{"--tv", "", "state"}, "--tv needs NAME, ADDRESS, all or profile:NAME, got ''"},
        {{"--tv", "tv001,,tv002", "state"}, "got 'tv001,,tv002'"},
        {{"--tv", "profile:", "state"}, "needs a profile name"},
        {{"--parallel", "0", "state"}, "from 1 to 256, got '0'"},
        {{"--tv", "all", "discover"}, "discover does not take --tv or --all"},
        {{"tokens", "list", "--all"}, "tokens does not take --tv or --all"},
        {{"state", "--tv"}, "--tv needs a value"},
        {{"--host", "tv.local", "state", "--tv", "tv001"}, "give the host to --tv"},
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
