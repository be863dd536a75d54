// The virtual TV through the framework's functions, as a client sees it: handles, results on the
// callback thread, the errors of each fault, all-or-nothing writes and notifications.
#include <atomic>
#include <future>

#include "TvTestSupport.h"
#include "VirtualTvRuntime.h"

namespace tv_test {
namespace {

const Prop kPowerRead = textProp("powerValue", "");
const Prop kAmbientRead = intProp("ambientMode", 0);

class VirtualTvRequestTest : public VirtualTvTest {};

void ignoreResult(dynf_protocol_h, dynf_error, dynf_property_list_h, void*) {}

TEST_F(VirtualTvRequestTest, HandlesExistOnlyWhileTheTvRuns) {
    std::string error;
    ASSERT_TRUE(testsupport::startPlatform(m_dir, profile(""), error)) << error;
    EXPECT_EQ(nullptr, dynf_protocol_create(nullptr, nullptr, nullptr));
    ASSERT_TRUE(ipc_tv::start(error)) << error;
    RecordingClient client;
    ASSERT_NE(nullptr, client.handle());

    ipc_tv::stop();
    EXPECT_EQ(nullptr, dynf_protocol_create(nullptr, nullptr, nullptr));
    // A handle of the stopped TV is refused but can still be destroyed.
    EXPECT_NE(DYNF_ERROR_NONE, client.get({kPowerRead}));
    EXPECT_EQ(DYNF_ERROR_NONE, client.destroy());
    EXPECT_TRUE(client.events().empty());
}

TEST_F(VirtualTvRequestTest, EveryAcceptedRequestGetsOneResultOnTheCallbackThread) {
    startTv();
    RecordingClient client;
    std::vector<uint32_t> ids(6);
    for (size_t index = 0; index < ids.size(); ++index) {
        const int accepted = index % 2 == 0
                                 ? client.get({kPowerRead}, 2, &ids[index])
                                 : client.set({intProp("ambientMode", 1)}, 2, &ids[index]);
        ASSERT_EQ(DYNF_ERROR_NONE, accepted);
    }
    std::vector<uint32_t> answered;
    for (size_t index = 0; index < ids.size(); ++index) {
        answered.push_back(client.nextResult().requestId);
    }
    EXPECT_EQ(ids, answered);  // without jitter, in the order asked
    EXPECT_NE(ids[0], ids[1]);
    EXPECT_TRUE(client.allOnOneOtherThread());
    // Nothing more arrives: a later request's result is the next one.
    uint32_t last = 0;
    ASSERT_EQ(DYNF_ERROR_NONE, client.get({kPowerRead}, 2, &last));
    EXPECT_EQ(last, client.nextResult().requestId);
}

TEST_F(VirtualTvRequestTest, ResultsCarryTheValuesOnlyWhenAskedWithFlag2) {
    startTv();
    RecordingClient client;
    ASSERT_EQ(DYNF_ERROR_NONE, client.get({kPowerRead, kAmbientRead, kPowerRead}));
    RecordingClient::Result result = client.nextResult();
    EXPECT_EQ(DYNF_ERROR_NONE, result.error);
    EXPECT_EQ((std::vector<std::string>{"powerValue=on", "ambientMode=0", "powerValue=on"}),
              result.values);

    ASSERT_EQ(DYNF_ERROR_NONE, client.get({kPowerRead}, 0));
    result = client.nextResult();
    EXPECT_TRUE(result.hasList);
    EXPECT_TRUE(result.values.empty());

    // An error comes without a list.
    ASSERT_EQ(DYNF_ERROR_NONE, client.get({textProp("noSuchProperty", "")}));
    result = client.nextResult();
    EXPECT_EQ(DYNF_ERROR_MALFORMED_REQUEST, result.error);
    EXPECT_FALSE(result.hasList);
}

struct ErrorCase {
    const char* name;
    bool isWrite;
    std::vector<Prop> props;
    dynf_error error;
};

class RequestErrorTest : public VirtualTvTest, public ::testing::WithParamInterface<ErrorCase> {};

// A refused write changes nothing, even where its first property alone would be taken.
TEST_P(RequestErrorTest, AnswersTheErrorOfTheFaultAndChangesNothing) {
    // A product without the ambient screen.
    startTv(R"({"unsupported": ["ambientMode"]})");
    RecordingClient client;
    ASSERT_TRUE(client.subscribe());
    const ErrorCase& c = GetParam();
    ASSERT_EQ(DYNF_ERROR_NONE, c.isWrite ? client.set(c.props) : client.get(c.props));
    EXPECT_EQ(c.error, client.nextResult().error);
    EXPECT_EQ("on", client.read(kPowerRead));
    EXPECT_TRUE(client.notifications().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RequestErrorTest,
    ::testing::Values(
        ErrorCase{"EmptyList", false, {}, DYNF_ERROR_MALFORMED_REQUEST},
        ErrorCase{
            "UnknownName", false, {textProp("noSuchProperty", "")}, DYNF_ERROR_MALFORMED_REQUEST},
        ErrorCase{
            "NameInOtherCase", true, {textProp("PowerValue", "off")}, DYNF_ERROR_MALFORMED_REQUEST},
        ErrorCase{"IntegerForText", true, {intProp("powerValue", 0)}, DYNF_ERROR_MALFORMED_REQUEST},
        ErrorCase{"SameNameTwice",
                  true,
                  {textProp("powerValue", "on"), textProp("powerValue", "off")},
                  DYNF_ERROR_MALFORMED_REQUEST},
        ErrorCase{"NotOnThisProduct", false, {kAmbientRead}, DYNF_ERROR_NOT_SUPPORTED},
        ErrorCase{"WordOutsideDomain",
                  true,
                  {textProp("powerValue", "powerOff")},
                  DYNF_ERROR_INVALID_VALUE},
        ErrorCase{"SecondValueOutsideDomain",
                  true,
                  {textProp("powerValue", "off"), intProp("volume", 101)},
                  DYNF_ERROR_INVALID_VALUE}),
    [](const ::testing::TestParamInfo<ErrorCase>& info) { return std::string(info.param.name); });

TEST_F(VirtualTvRequestTest, WriteAnswersNewValuesThenNotifiesSubscribers) {
    startTv();
    RecordingClient writer;
    RecordingClient subscriber;
    RecordingClient bystander;
    ASSERT_TRUE(writer.subscribe());
    ASSERT_TRUE(subscriber.subscribe());
    ASSERT_EQ(DYNF_ERROR_NONE, writer.set({intProp("ambientMode", 2)}));
    const RecordingClient::Result result = writer.nextResult();
    EXPECT_EQ(DYNF_ERROR_NONE, result.error);
    EXPECT_EQ(std::vector<std::string>{"ambientMode=2"}, result.values);
    ASSERT_TRUE(writer.waitFor("", 2));
    EXPECT_EQ((std::vector<std::string>{"result 0", "noti ambientMode=2"}), writer.events());
    ASSERT_TRUE(subscriber.waitFor("noti ", 1));
    EXPECT_EQ(std::vector<std::string>{"ambientMode=2"}, subscriber.notifications());

    // Writing the value it already has changes nothing and notifies nothing.
    EXPECT_EQ(DYNF_ERROR_NONE, writer.write(intProp("ambientMode", 2)));
    EXPECT_EQ("2", bystander.read(kAmbientRead));
    EXPECT_EQ(1u, subscriber.notifications().size());
    EXPECT_TRUE(bystander.notifications().empty());
}

TEST_F(VirtualTvRequestTest, SubscriptionsAreCountedPerHandle) {
    startTv();
    RecordingClient client;
    // The TV service and the wall service share one name.
    ASSERT_TRUE(client.subscribe());
    ASSERT_TRUE(client.subscribe());
    EXPECT_EQ(DYNF_ERROR_NONE, dynf_protocol_unsubscribe_service(client.handle(), "tvcontrol"));
    EXPECT_EQ(DYNF_ERROR_NONE, client.write(intProp("ambientMode", 1)));
    ASSERT_TRUE(client.waitFor("noti ", 1));
    EXPECT_EQ(DYNF_ERROR_NONE, dynf_protocol_unsubscribe_service(client.handle(), "tvcontrol"));
    EXPECT_NE(DYNF_ERROR_NONE, dynf_protocol_unsubscribe_service(client.handle(), "tvcontrol"));
    EXPECT_EQ(DYNF_ERROR_NONE, client.write(intProp("ambientMode", 2)));
    EXPECT_EQ("2", client.read(kAmbientRead));
    EXPECT_EQ(1u, client.notifications().size());
}

TEST_F(VirtualTvRequestTest, RefusedCallsNeverCallBack) {
    startTv();
    RecordingClient client;
    dynf_property_list_h list = dynf_property_list_create();
    EXPECT_EQ(DYNF_ERROR_NOT_SUPPORTED,
              dynf_protocol_get_property(client.handle(), "tv", list, &ignoreResult, 2, nullptr,
                                         nullptr));
    list = dynf_property_list_create();
    EXPECT_NE(DYNF_ERROR_NONE, dynf_protocol_get_property(client.handle(), "tvcontrol", list,
                                                          nullptr, 2, nullptr, nullptr));
    EXPECT_NE(DYNF_ERROR_NONE, dynf_protocol_set_property(client.handle(), nullptr, nullptr,
                                                          nullptr, 2, nullptr, nullptr));
    EXPECT_NE(DYNF_ERROR_NONE, dynf_protocol_subscribe_service(client.handle(), "other"));
    EXPECT_NE(DYNF_ERROR_NONE, dynf_protocol_subscribe_service(nullptr, "tvcontrol"));
    // A destroyed handle is unknown from then on.
    dynf_protocol_h stale = client.handle();
    ASSERT_EQ(DYNF_ERROR_NONE, client.destroy());
    EXPECT_NE(DYNF_ERROR_NONE, dynf_protocol_destroy(stale));
    list = dynf_property_list_create();
    EXPECT_NE(DYNF_ERROR_NONE,
              dynf_protocol_get_property(stale, "tvcontrol", list, nullptr, 2, nullptr, nullptr));
    EXPECT_TRUE(client.events().empty());
}

TEST_F(VirtualTvRequestTest, DestroyDropsPendingResults) {
    startTv(R"({"knobs": {"latencyMs": 100}})");
    RecordingClient leaving;
    ASSERT_TRUE(leaving.subscribe());
    for (int index = 0; index < 4; ++index) {
        ASSERT_EQ(DYNF_ERROR_NONE, leaving.set({intProp("ambientMode", index)}));
    }
    ASSERT_EQ(DYNF_ERROR_NONE, leaving.destroy());
    // A request made afterwards is answered after everything the first client asked.
    RecordingClient staying;
    EXPECT_EQ("3", staying.read(kAmbientRead));
    EXPECT_TRUE(leaving.events().empty());
}

TEST_F(VirtualTvRequestTest, DestroyWaitsForTheRunningCallback) {
    startTv();
    RecordingClient client;
    std::promise<void> entered;
    std::promise<void> release;
    std::atomic<bool> callbackDone{false};
    client.onNextResult([&] {
        entered.set_value();
        release.get_future().wait();
        callbackDone = true;
    });
    ASSERT_EQ(DYNF_ERROR_NONE, client.get({kPowerRead}));
    entered.get_future().wait();
    std::atomic<bool> destroyReturned{false};
    bool doneWhenReturned = false;
    std::thread destroyer([&] {
        client.destroy();
        doneWhenReturned = callbackDone;
        destroyReturned = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(destroyReturned);
    release.set_value();
    destroyer.join();
    EXPECT_TRUE(doneWhenReturned);
}

TEST_F(VirtualTvRequestTest, DestroyFromItsOwnCallbackReturns) {
    startTv();
    RecordingClient client;
    dynf_protocol_h handle = client.handle();
    std::promise<int> destroyed;
    client.onNextResult([&] { destroyed.set_value(dynf_protocol_destroy(handle)); });
    ASSERT_EQ(DYNF_ERROR_NONE, client.get({kPowerRead}));
    std::future<int> result = destroyed.get_future();
    ASSERT_EQ(std::future_status::ready, result.wait_for(std::chrono::seconds(5)));
    EXPECT_EQ(DYNF_ERROR_NONE, result.get());
    // The callback itself finishes; the client outlives it.
    EXPECT_EQ(DYNF_ERROR_NONE, client.nextResult().error);
    EXPECT_NE(DYNF_ERROR_NONE, client.destroy());
}

}  // namespace
}  // namespace tv_test
