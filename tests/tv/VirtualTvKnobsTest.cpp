// The virtual TV's knobs as a client feels them: latency, forced failures, and the TV and wall
// services marked unavailable.
#include "CurrentTv.h"
#include "TvTestSupport.h"
#include "VirtualTv.h"

namespace tv_test {
namespace {

using Clock = std::chrono::steady_clock;

const Prop kPowerRead = textProp("powerValue", "");

class VirtualTvKnobsTest : public VirtualTvTest {};

// Only a lower bound: how soon the call returns is for the benchmarks.
TEST_F(VirtualTvKnobsTest, LatencyDelaysResults) {
    startTv(R"({"knobs": {"latencyMs": 150}})");
    RecordingClient client;
    const Clock::time_point asked = Clock::now();
    ASSERT_EQ(DYNF_ERROR_NONE, client.get({kPowerRead}));
    EXPECT_EQ(DYNF_ERROR_NONE, client.nextResult().error);
    EXPECT_GE(Clock::now() - asked, std::chrono::milliseconds(150));

    setKnobs(R"({"latencyMs": 0, "jitterMs": 50})");
    for (int index = 0; index < 5; ++index) {
        ASSERT_EQ(DYNF_ERROR_NONE, client.get({kPowerRead}));
    }
    for (int index = 0; index < 5; ++index) {
        EXPECT_EQ(DYNF_ERROR_NONE, client.nextResult().error);
    }
}

TEST_F(VirtualTvKnobsTest, FailNextFailsExactlyThatManyRequests) {
    startTv(R"({"knobs": {"failNext": {"count": 2, "error": 4}}})");
    RecordingClient client;
    EXPECT_EQ(DYNF_ERROR_INVALID_VALUE, client.write(textProp("powerValue", "off")));
    EXPECT_EQ("error 4", client.read(kPowerRead));
    EXPECT_EQ("on", client.read(kPowerRead));
    EXPECT_EQ(0u, ipc_tv::currentTv()->snapshot().knobs.failNextCount);

    // Any code, even one the framework never answers by itself.
    setKnobs(R"({"failNext": {"count": 1, "error": 77}})");
    EXPECT_EQ("error 77", client.read(kPowerRead));
    EXPECT_EQ("on", client.read(kPowerRead));
}

TEST_F(VirtualTvKnobsTest, UnavailableTvServiceReportsStatusAndRefusesRequests) {
    startTv();
    RecordingClient subscriber;
    RecordingClient other;
    ASSERT_TRUE(subscriber.subscribe());
    setKnobs(R"({"tvServiceAvailable": false})");
    ASSERT_TRUE(subscriber.waitFor("status ", 1));
    EXPECT_EQ("error 2", subscriber.read(kPowerRead));
    EXPECT_EQ(DYNF_ERROR_NOT_AVAILABLE, other.write(textProp("powerValue", "off")));
    // Marking it unavailable again reports nothing new.
    setKnobs(R"({"tvServiceAvailable": false})");

    setKnobs(R"({"tvServiceAvailable": true})");
    EXPECT_EQ("on", subscriber.read(kPowerRead));
    EXPECT_EQ((std::vector<int>{DYNF_SERVICE_UNAVAILABLE, DYNF_SERVICE_AVAILABLE}),
              subscriber.statuses());
    EXPECT_TRUE(other.statuses().empty());
}

TEST_F(VirtualTvKnobsTest, UnavailableWallServiceRefusesOnlyWallProperties) {
    startShippedTv("wall");
    RecordingClient client;
    ASSERT_TRUE(client.subscribe());
    setKnobs(R"({"wallServiceAvailable": false})");
    const Prop groups = jsonProp("wallCabinetGroupIds", "[]");
    EXPECT_EQ("error 2", client.read(groups));
    ASSERT_EQ(DYNF_ERROR_NONE, client.get({kPowerRead, groups}));
    EXPECT_EQ(DYNF_ERROR_NOT_AVAILABLE, client.nextResult().error);
    EXPECT_EQ("on", client.read(kPowerRead));
    EXPECT_EQ(DYNF_ERROR_NONE, client.write(textProp("powerValue", "off")));

    setKnobs(R"({"wallServiceAvailable": true})");
    EXPECT_EQ(R"(["A","B"])", client.read(groups));
    // The wall shares the service's name: its availability is no status event.
    EXPECT_TRUE(client.statuses().empty());
}

}  // namespace
}  // namespace tv_test
