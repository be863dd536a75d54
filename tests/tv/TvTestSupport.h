// Helpers of the virtual TV tests: the platform and the TV on a temporary data folder, and a
// client of the property framework that records what it receives.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "dynf.h"
#include "support/PlatformFixture.h"

namespace tv_test {

using testsupport::TempDir;

// A property for a request: its name and value, built with the framework's functions.
struct Prop {
    std::string name;
    dynf_property_type_e type;
    int number = 0;
    std::string text;
};
Prop intProp(const std::string& name, int value);
Prop boolProp(const std::string& name, bool value);
Prop textProp(const std::string& name, const std::string& value);
Prop jsonProp(const std::string& name, const std::string& json);
// A press of a remote key (remoteKey), pressAndRelease unless told.
Prop keyProp(const std::string& name, const std::string& status = "pressAndRelease");

// One handle of the framework; records results, statuses and notifications in arrival order,
// with the threads they came on. Thread-safe.
class RecordingClient {
public:
    struct Result {
        uint32_t requestId = 0;  // from the user data
        dynf_error error = DYNF_ERROR_NONE;
        bool hasList = false;
        std::vector<std::string> values;  // "name=value", bools as true/false
    };

    RecordingClient();
    ~RecordingClient();
    RecordingClient(const RecordingClient&) = delete;
    RecordingClient& operator=(const RecordingClient&) = delete;

    dynf_protocol_h handle() const { return m_handle; }
    bool subscribe();
    // Destroys the handle (once).
    int destroy();

    // Starts a request; 0 when accepted. The request id goes to requestId when given.
    int get(const std::vector<Prop>& props, int flags = 2, uint32_t* requestId = nullptr);
    int set(const std::vector<Prop>& props, int flags = 2, uint32_t* requestId = nullptr);
    // Waits (bounded) for the next result and returns it; a result with error -1 on timeout.
    Result nextResult(std::chrono::milliseconds timeout = std::chrono::milliseconds(5000));
    // The value of a one-property get with that placeholder, waited for; "error N" on an
    // error.
    std::string read(const Prop& placeholder);
    // Sets one property and waits for its error.
    dynf_error write(const Prop& prop);

    // Everything received so far as text: "result N", "status S", "noti a=b,c=d".
    std::vector<std::string> events() const;
    std::vector<std::string> notifications() const;
    std::vector<int> statuses() const;
    // True when every callback so far ran on one thread that is not the caller's.
    bool allOnOneOtherThread() const;
    // Waits (bounded) until at least count events start with prefix ("noti ", "status ", "" for
    // any).
    bool waitFor(const std::string& prefix, size_t count) const;

    // Runs inside the next result callback before it returns.
    void onNextResult(std::function<void()> hook);

private:
    int _start(bool isWrite, const std::vector<Prop>& props, int flags, uint32_t* requestId);
    void _record(const std::string& event);
    static void onStatus(dynf_protocol_h, const char*, dynf_service_status status, void* self);
    static void onNotification(dynf_protocol_h, const char*, dynf_property_list_h, void* self);
    static void onResult(dynf_protocol_h, dynf_error, dynf_property_list_h, void* self);

    dynf_protocol_h m_handle = nullptr;
    const std::thread::id m_creator = std::this_thread::get_id();

    // Protects everything below.
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::vector<std::string> m_events;
    std::vector<std::thread::id> m_threads;  // the thread of each event
    std::vector<Result> m_results;
    size_t m_taken = 0;  // results handed out by nextResult
    std::function<void()> m_hook;
    // The user data of each request: the client and the request's id.
    struct Tag {
        RecordingClient* self;
        uint32_t requestId;
    };
    std::vector<std::unique_ptr<Tag>> m_tags;
};

// The platform on a temporary data folder and the virtual TV on it; both stopped after the test.
class VirtualTvTest : public ::testing::Test {
protected:
    // A TV that restarts in 100 ms.
    static constexpr char kFastReboot[] = R"({"knobs": {"rebootMs": 100}})";

    void TearDown() override;

    // A profile with the "tv" section (JSON text; empty for none) and featureconf members.
    std::string profile(const std::string& tvSection, const std::string& featureconf = "") const;
    // Starts the platform and the TV; fails the test when either fails.
    void startTv(const std::string& tvSection = kFastReboot);
    // Starts the platform and the TV on a shipped profile (data/profiles/<name>.json).
    void startShippedTv(const std::string& name);
    // The TV's start error with that section (the platform starts); empty when it started.
    std::string startError(const std::string& tvSection);
    void restartTv();
    // Applies knobs given as JSON text to the running TV; fails the test when refused.
    void setKnobs(const std::string& json);

    TempDir m_dir;
    ipc_platform::Options m_options;
};

}  // namespace tv_test
