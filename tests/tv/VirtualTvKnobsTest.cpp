// The virtual TV's knobs as a client feels them: latency, forced failures, and the TV and wall
// services marked unavailable.
#include "CurrentTv.h"
#include "PropertySchema.h"
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

// A TV whose schema has a property of the wall service.
class WallServiceTest : public VirtualTvKnobsTest {
protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(testsupport::startPlatform(m_dir, profile(""), error)) << error;
        std::vector<ipc_tv::PropertySpec> rows = ipc_tv::PropertySchema::builtIn().rows();
        ipc_tv::PropertySpec cabinets;
        cabinets.name = "cabinetCount";
        cabinets.defaultValue = ipc_tv::PropertyValue::ofInt(4);
        cabinets.wall = true;
        rows.push_back(cabinets);
        ASSERT_TRUE(ipc_tv::startWithSchema(ipc_tv::PropertySchema(rows), error)) << error;
    }
};

TEST_F(WallServiceTest, UnavailableWallServiceRefusesOnlyWallProperties) {
    RecordingClient client;
    ASSERT_TRUE(client.subscribe());
    setKnobs(R"({"wallServiceAvailable": false})");
    EXPECT_EQ("error 2", client.read(intProp("cabinetCount", 0)));
    ASSERT_EQ(DYNF_ERROR_NONE, client.get({kPowerRead, intProp("cabinetCount", 0)}));
    EXPECT_EQ(DYNF_ERROR_NOT_AVAILABLE, client.nextResult().error);
    EXPECT_EQ("on", client.read(kPowerRead));
    EXPECT_EQ(DYNF_ERROR_NONE, client.write(textProp("powerValue", "off")));

    setKnobs(R"({"wallServiceAvailable": true})");
    EXPECT_EQ("4", client.read(intProp("cabinetCount", 0)));
    // The wall shares the service's name: its availability is no status event.
    EXPECT_TRUE(client.statuses().empty());
}

}  // namespace
}  // namespace tv_test
