// Choosing TVs with --tv and --all, how a command on many TVs reports, and the MAC discovery
// shows.
#include <glib.h>
#include <gtest/gtest.h>

#include <atomic>

#include "CommandLine.h"
#include "DiscoverCommand.h"
#include "JsonValue.h"
#include "TvBatch.h"
#include "support/PlatformFixture.h"

namespace {

TvTarget tv(const std::string& name, const std::string& address, const std::string& model,
            unsigned short port = 1516) {
    TvTarget target;
    target.name = name;
    target.address = address;
    target.model = model;
    target.port = port;
    return target;
}

std::vector<std::string> namesOf(const std::vector<TvTarget>& tvs) {
    std::vector<std::string> names;
    names.reserve(tvs.size());
    for (const TvTarget& target : tvs) {
        names.push_back(target.name.empty() ? target.address : target.name);
    }
    return names;
}

const std::vector<TvTarget> kFound = {tv("tv001", "10.77.0.11", "OWL1"),
                                      tv("tv002", "10.77.0.12", "OTV19", 1515),
                                      tv("tv003", "10.77.0.13", "OWL1")};
const std::map<std::string, std::string> kProfiles = {{"wall", "OWL1"}, {"tv-2019", "OTV19"}};

std::vector<std::string> select(const std::vector<std::string>& values,
                                std::vector<std::string>& unmatched) {
    CommandLine commandLine;
    std::string error;
    std::vector<std::string> args;
    for (const std::string& value : values) {
        args.push_back("--tv");
        args.push_back(value);
    }
    args.push_back("state");
    EXPECT_TRUE(commandLine.parse(args, error)) << error;
    return namesOf(commandLine.selection.select(kFound, kProfiles, unmatched));
}

TEST(TvSelection, ChoosesByNameAddressProfileOrAllEachTvOnceInTheOrderFound) {
    std::vector<std::string> unmatched;
    EXPECT_EQ((std::vector<std::string>{"tv001", "tv002", "tv003"}), select({"all"}, unmatched));
    EXPECT_EQ((std::vector<std::string>{"tv001", "tv003"}), select({"profile:wall"}, unmatched));
    // A model name serves where no shipped profile has that name.
    EXPECT_EQ((std::vector<std::string>{"tv002"}), select({"profile:OTV19"}, unmatched));
    EXPECT_EQ((std::vector<std::string>{"tv001", "tv002"}),
              select({"tv002, 10.77.0.11", "tv001"}, unmatched));
    EXPECT_EQ((std::vector<std::string>{"tv001", "tv003"}),
              select({"profile:wall,tv003,10.77.0.13"}, unmatched));
    EXPECT_TRUE(unmatched.empty());
}

TEST(TvSelection, AnAddressNeedsNoSearchWhileAnUnknownNameIsReported) {
    CommandLine commandLine;
    std::string error;
    ASSERT_TRUE(commandLine.parse({"--tv", "10.0.0.9,::1", "volume", "20"}, error)) << error;
    EXPECT_FALSE(commandLine.selection.needsDiscovery());
    std::vector<std::string> unmatched;
    const std::vector<TvTarget> chosen = commandLine.selection.select({}, kProfiles, unmatched);
    ASSERT_EQ(2u, chosen.size());
    EXPECT_EQ("10.0.0.9", chosen[0].address);
    EXPECT_EQ(0, chosen[0].port);  // probed before use
    EXPECT_EQ("[::1]", chosen[1].label());

    EXPECT_EQ((std::vector<std::string>{"tv002"}),
              select({"tv002,kitchen,profile:easel"}, unmatched));
    EXPECT_EQ((std::vector<std::string>{"kitchen", "profile:easel"}), unmatched);
}

// Its refusals are among the command line's usage errors (CommandLineTest.cpp).
TEST(TvSelection, CommandLineTakesAllAndTvAfterTheCommand) {
    CommandLine commandLine;
    std::string error;
    ASSERT_TRUE(commandLine.parse({"--parallel", "4", "pair", "--all"}, error)) << error;
    EXPECT_EQ(CommandLine::Command::Pair, commandLine.command);
    EXPECT_TRUE(commandLine.selection.needsDiscovery());
    EXPECT_EQ(4u, commandLine.parallel);
    CommandLine after;
    ASSERT_TRUE(after.parse({"power", "off", "--tv", "10.0.0.9", "--tv=10.0.0.8"}, error)) << error;
    EXPECT_EQ((std::vector<std::string>{"off"}), after.args);
    std::vector<std::string> unmatched;
    EXPECT_EQ(2u, after.selection.select({}, kProfiles, unmatched).size());
}

TvBatch::Result result(const std::string& name, ExitCode code, const std::string& output,
                       const std::string& sentence) {
    return {tv(name, "10.77.0.1" + name.substr(name.size() - 1), "M"), {code, sentence, output}};
}

TEST(TvBatch, SummaryNamesEachFailureAndTheExitCodeTellsWhetherAnyFailed) {
    std::vector<TvBatch::Result> results = {
        result("tv1", ExitCode::Success, "Volume 20", ""),
        result("tv2", ExitCode::Unreachable, "", "The TV at 10.77.0.12:1516 cannot be reached."),
        result("tv3", ExitCode::Success, "", "Paired."),
    };
    EXPECT_EQ("2 done, 1 failed: tv2 (cannot be reached)", TvBatch::summary(results));
    EXPECT_EQ(ExitCode::Unreachable, TvBatch::exitCode(results));
    EXPECT_EQ("tv1 (10.77.0.11:1516): Volume 20", TvBatch::line(results[0]));
    EXPECT_EQ("tv2 (10.77.0.12:1516): failed: The TV at 10.77.0.12:1516 cannot be reached.",
              TvBatch::line(results[1]));
    EXPECT_EQ("tv3 (10.77.0.13:1516): Paired.", TvBatch::line(results[2]));

    results.push_back(result("tv4", ExitCode::NotPaired, "", "Not paired."));
    EXPECT_EQ("2 done, 2 failed: tv2 (cannot be reached), tv4 (not paired)",
              TvBatch::summary(results));
    EXPECT_EQ(ExitCode::Failure, TvBatch::exitCode(results));  // mixed reasons

    results = {result("tv1", ExitCode::Success, "Power   on\nVolume  20\n", "")};
    EXPECT_EQ("1 done, 0 failed", TvBatch::summary(results));
    EXPECT_EQ(ExitCode::Success, TvBatch::exitCode(results));
    EXPECT_EQ("tv1 (10.77.0.11:1516): Power   on\n    Volume  20", TvBatch::line(results[0]));
    EXPECT_EQ("0 done, 0 failed", TvBatch::summary({}));
}

TEST(TvBatch, JsonKeepsTheTvsRawBodiesAndCounts) {
    const std::vector<TvBatch::Result> results = {
        result("tv1", ExitCode::Success, "{\"jsonrpc\":\"2.0\",\"result\":{}}", ""),
        result("tv2", ExitCode::NotPaired, "", "Not paired."),
    };
    const common::json::JsonValue root = common::json::JsonValue::Create(TvBatch::json(results));
    EXPECT_EQ(1, root["done"].asInt());
    EXPECT_EQ(1, root["failed"].asInt());
    EXPECT_EQ("2.0", root["tvs"][0]["output"]["jsonrpc"].asString());
    EXPECT_TRUE(root["tvs"][0]["ok"].asBool());
    EXPECT_EQ(8, root["tvs"][1]["exitCode"].asInt());
    EXPECT_EQ("Not paired.", root["tvs"][1]["message"].asString());
}

TEST(TvBatch, RunsEveryTvOnceWithNoMoreAtOnceThanAllowed) {
    std::vector<TvTarget> tvs;
    tvs.reserve(40);
    for (int i = 0; i < 40; ++i) {
        tvs.push_back(tv("tv" + std::to_string(i), "10.0.0." + std::to_string(i), "M"));
    }
    std::atomic<int> running{0};
    std::atomic<int> most{0};
    const std::vector<TvBatch::Result> results = TvBatch::run(tvs, 3, [&](const TvTarget& t) {
        const int now = ++running;
        int seen = most.load();
        while (now > seen && !most.compare_exchange_weak(seen, now)) {
        }
        --running;
        return Outcome{ExitCode::Success, "", t.name};
    });
    ASSERT_EQ(tvs.size(), results.size());
    for (size_t i = 0; i < tvs.size(); ++i) {
        EXPECT_EQ(tvs[i].name, results[i].outcome.output);
    }
    EXPECT_LE(most.load(), 3);
}

TEST(Discovery, TheMacOfATvComesFromTheNeighbourTableOnceResolved) {
    testsupport::TempDir dir;
    const std::string table = dir.file("arp");
    g_file_set_contents(
        table.c_str(),
        "IP address       HW type     Flags       HW address            Mask     Device\n"
        "10.77.0.11       0x1         0x2         02:1a:b0:00:00:01     *        eth0\n"
        "10.77.0.111      0x1         0x2         02:1a:b0:00:00:65     *        eth0\n"
        "10.77.0.12       0x1         0x0         00:00:00:00:00:00     *        eth0\n",
        -1, nullptr);
    EXPECT_EQ("02:1a:b0:00:00:01", DiscoverCommand::neighbourMac("10.77.0.11", table));
    EXPECT_EQ("02:1a:b0:00:00:65", DiscoverCommand::neighbourMac("10.77.0.111", table));
    EXPECT_EQ("", DiscoverCommand::neighbourMac("10.77.0.12", table));  // not resolved
    EXPECT_EQ("", DiscoverCommand::neighbourMac("127.0.0.1", table));
    EXPECT_EQ("", DiscoverCommand::neighbourMac("10.77.0.11", dir.file("missing")));
    g_file_set_contents(table.c_str(), "", 0, nullptr);
    EXPECT_EQ("", DiscoverCommand::neighbourMac("10.77.0.11", table));
}

}  // namespace
