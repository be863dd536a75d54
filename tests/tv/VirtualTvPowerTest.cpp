// The virtual TV's power: standby, reboot with its statuses and notifications, and the ambient
// mode and type reported to the power interface.
#include "TvTestSupport.h"
#include "device_power.h"

namespace tv_test {
namespace {

const Prop kPowerRead = textProp("powerValue", "");
const Prop kAmbientRead = intProp("ambientMode", 0);

class VirtualTvPowerTest : public VirtualTvTest {};

TEST_F(VirtualTvPowerTest, StandbyKeepsReadsAndTakesOnlyPowerWritesAndThePowerKey) {
    startTv();
    RecordingClient client;
    ASSERT_EQ(DYNF_ERROR_NONE, client.write(textProp("powerValue", "off")));
    EXPECT_EQ("off", client.read(kPowerRead));
    EXPECT_EQ("0", client.read(kAmbientRead));
    EXPECT_EQ(DYNF_ERROR_NOT_AVAILABLE, client.write(intProp("ambientMode", 1)));
    EXPECT_EQ(DYNF_ERROR_NOT_AVAILABLE, client.write(keyProp("KEY_VOLUP")));
    EXPECT_EQ(DYNF_ERROR_NONE, client.write(keyProp("KEY_POWER")));
    EXPECT_EQ("on", client.read(kPowerRead));
    ASSERT_EQ(DYNF_ERROR_NONE, client.write(textProp("powerValue", "off")));
    // A list that holds power as well is refused as a whole.
    ASSERT_EQ(DYNF_ERROR_NONE,
              client.set({textProp("powerValue", "on"), intProp("ambientMode", 1)}));
    EXPECT_EQ(DYNF_ERROR_NOT_AVAILABLE, client.nextResult().error);
    EXPECT_EQ("off", client.read(kPowerRead));

    ASSERT_EQ(DYNF_ERROR_NONE, client.write(textProp("powerValue", "on")));
    EXPECT_EQ(DYNF_ERROR_NONE, client.write(intProp("ambientMode", 1)));
}

TEST_F(VirtualTvPowerTest, EveryPowerChangeIsNotified) {
    startTv();
    RecordingClient client;
    ASSERT_TRUE(client.subscribe());
    ASSERT_EQ(DYNF_ERROR_NONE, client.write(intProp("ambientMode", 3)));
    ASSERT_EQ(DYNF_ERROR_NONE, client.write(textProp("powerValue", "off")));
    ASSERT_EQ(DYNF_ERROR_NONE, client.write(textProp("powerValue", "off")));
    ASSERT_EQ(DYNF_ERROR_NONE, client.write(textProp("powerValue", "on")));
    ASSERT_TRUE(client.waitFor("noti ", 3));
    // Going off leaves the ambient screen.
    EXPECT_EQ((std::vector<std::string>{"ambientMode=3", "powerValue=off,ambientMode=0",
                                        "powerValue=on"}),
              client.notifications());
}

TEST_F(VirtualTvPowerTest, RebootIsUnavailableUntilTheTvIsOnAgain) {
    startTv(R"({"knobs": {"rebootMs": 500}})");
    RecordingClient client;
    ASSERT_TRUE(client.subscribe());
    ASSERT_EQ(DYNF_ERROR_NONE, client.set({textProp("powerValue", "reboot")}));
    const RecordingClient::Result result = client.nextResult();
    EXPECT_EQ(DYNF_ERROR_NONE, result.error);
    EXPECT_EQ(std::vector<std::string>{"powerValue=reboot"}, result.values);
    ASSERT_TRUE(client.waitFor("status ", 1));
    EXPECT_EQ("error 2", client.read(kPowerRead));
    EXPECT_EQ(DYNF_ERROR_NOT_AVAILABLE, client.write(textProp("powerValue", "off")));

    ASSERT_TRUE(client.waitFor("status ", 2));
    EXPECT_EQ("on", client.read(kPowerRead));
    ASSERT_TRUE(client.waitFor("", 8));
    EXPECT_EQ(
        (std::vector<std::string>{"result 0", "noti powerValue=reboot", "status 1", "result 2",
                                  "result 2", "status 0", "noti powerValue=on", "result 0"}),
        client.events());
}

TEST_F(VirtualTvPowerTest, RebootFromStandbyComesBackOn) {
    startTv(R"({"initial": {"powerValue": "off"}, "knobs": {"rebootMs": 0}})");
    RecordingClient client;
    ASSERT_TRUE(client.subscribe());
    ASSERT_EQ(DYNF_ERROR_NONE, client.write(textProp("powerValue", "reboot")));
    ASSERT_TRUE(client.waitFor("status ", 2));
    EXPECT_EQ("on", client.read(kPowerRead));
}

TEST_F(VirtualTvPowerTest, SubscribingWhileUnavailableReportsTheStatus) {
    startTv(R"({"knobs": {"rebootMs": 60000}})");
    RecordingClient writer;
    ASSERT_EQ(DYNF_ERROR_NONE, writer.write(textProp("powerValue", "reboot")));
    RecordingClient late;
    ASSERT_TRUE(late.subscribe());
    ASSERT_TRUE(late.waitFor("status ", 1));
    EXPECT_EQ(std::vector<int>{DYNF_SERVICE_UNAVAILABLE}, late.statuses());
    EXPECT_TRUE(late.allOnOneOtherThread());
}

TEST_F(VirtualTvPowerTest, AmbientModeAndTypeReachThePowerInterface) {
    startTv(R"({"ambientType": 4})");
    EXPECT_EQ(4, device_power_get_ambient_type());
    EXPECT_EQ(DEVICE_POWER_AMBIENT_OFF, device_power_get_ambient_mode());
    RecordingClient client;
    ASSERT_EQ(DYNF_ERROR_NONE, client.write(intProp("ambientMode", 2)));
    EXPECT_EQ(2, device_power_get_ambient_mode());
    ASSERT_EQ(DYNF_ERROR_NONE, client.write(textProp("powerValue", "off")));
    EXPECT_EQ(DEVICE_POWER_AMBIENT_OFF, device_power_get_ambient_mode());
}

}  // namespace
}  // namespace tv_test
