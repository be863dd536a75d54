// Helpers of the virtual TV tests.
#include "TvTestSupport.h"

#include <glib.h>
#include <json-glib/json-glib.h>

#include "AdminJson.h"
#include "CurrentTv.h"
#include "VirtualTv.h"
#include "VirtualTvRuntime.h"

namespace tv_test {

Prop intProp(const std::string& name, int value) {
    return Prop{name, DYNF_PROPERTY_INT, value, ""};
}

Prop boolProp(const std::string& name, bool value) {
    return Prop{name, DYNF_PROPERTY_BOOL, value ? 1 : 0, ""};
}

Prop textProp(const std::string& name, const std::string& value) {
    return Prop{name, DYNF_PROPERTY_STRING, 0, value};
}

Prop jsonProp(const std::string& name, const std::string& json) {
    return Prop{name, DYNF_PROPERTY_JSON_STRING, 0, json};
}

Prop keyProp(const std::string& name, const std::string& status) {
    return jsonProp("remoteKey",
                    R"({"keyName":")" + name + R"(","keyStatus":")" + status + R"("})");
}

namespace {

dynf_property_h createProperty(const Prop& prop) {
    switch (prop.type) {
        case DYNF_PROPERTY_INT:
            return dynf_property_create_int(prop.name.c_str(), prop.number);
        case DYNF_PROPERTY_BOOL:
            return dynf_property_create_bool(prop.name.c_str(), prop.number != 0);
        case DYNF_PROPERTY_STRING:
            return dynf_property_create_string(prop.name.c_str(), prop.text.c_str());
        case DYNF_PROPERTY_JSON_STRING:
            return dynf_property_create_json_string(prop.name.c_str(), prop.text.c_str());
    }
    return nullptr;
}

std::vector<std::string> describe(dynf_property_list_h list) {
    std::vector<std::string> values;
    for (size_t index = 0; index < dynf_property_list_size(list); ++index) {
        dynf_property_h property = dynf_property_list_get(list, index);
        std::string value;
        int number = 0;
        bool flag = false;
        const char* text = nullptr;
        if (dynf_property_get_int(property, &number) == DYNF_ERROR_NONE) {
            value = std::to_string(number);
        } else if (dynf_property_get_bool(property, &flag) == DYNF_ERROR_NONE) {
            value = flag ? "true" : "false";
        } else if (dynf_property_get_string(property, &text) == DYNF_ERROR_NONE) {
            value = text;
        }
        values.push_back(std::string(dynf_property_get_name(property)) + "=" + value);
    }
    return values;
}

// The events that start with prefix, without it.
std::vector<std::string> eventsAfter(const std::vector<std::string>& events,
                                     const std::string& prefix) {
    std::vector<std::string> found;
    for (const std::string& event : events) {
        if (event.compare(0, prefix.size(), prefix) == 0) {
            found.push_back(event.substr(prefix.size()));
        }
    }
    return found;
}

}  // namespace

RecordingClient::RecordingClient()
    : m_handle(dynf_protocol_create(&RecordingClient::onStatus, &RecordingClient::onNotification,
                                    this)) {}

RecordingClient::~RecordingClient() {
    destroy();
}

bool RecordingClient::subscribe() {
    return dynf_protocol_subscribe_service(m_handle, "tvcontrol") == DYNF_ERROR_NONE;
}

int RecordingClient::destroy() {
    if (m_handle == nullptr) {
        return DYNF_ERROR_NONE;
    }
    const int result = dynf_protocol_destroy(m_handle);
    m_handle = nullptr;
    return result;
}

int RecordingClient::get(const std::vector<Prop>& props, int flags, uint32_t* requestId) {
    return _start(false, props, flags, requestId);
}

int RecordingClient::set(const std::vector<Prop>& props, int flags, uint32_t* requestId) {
    return _start(true, props, flags, requestId);
}

int RecordingClient::_start(bool isWrite, const std::vector<Prop>& props, int flags,
                            uint32_t* requestId) {
    dynf_property_list_h list = dynf_property_list_create();
    for (const Prop& prop : props) {
        dynf_property_list_push(list, createProperty(prop));
    }
    Tag* tag = nullptr;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_tags.push_back(std::make_unique<Tag>(Tag{this, 0}));
        tag = m_tags.back().get();
    }
    // The framework writes the id before the result can come.
    const int result = isWrite ? dynf_protocol_set_property(m_handle, "tvcontrol", list, &onResult,
                                                            flags, &tag->requestId, tag)
                               : dynf_protocol_get_property(m_handle, "tvcontrol", list, &onResult,
                                                            flags, &tag->requestId, tag);
    if (requestId != nullptr) {
        *requestId = tag->requestId;
    }
    return result;
}

RecordingClient::Result RecordingClient::nextResult(std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_changed.wait_for(lock, timeout, [&] { return m_results.size() > m_taken; })) {
        Result none;
        none.error = -1;
        return none;
    }
    return m_results[m_taken++];
}

std::string RecordingClient::read(const Prop& placeholder) {
    if (get({placeholder}) != DYNF_ERROR_NONE) {
        return "refused";
    }
    const Result result = nextResult();
    if (result.error != DYNF_ERROR_NONE) {
        return "error " + std::to_string(result.error);
    }
    return result.values.empty() ? "" : result.values[0].substr(placeholder.name.size() + 1);
}

dynf_error RecordingClient::write(const Prop& prop) {
    if (set({prop}) != DYNF_ERROR_NONE) {
        return -1;
    }
    return nextResult().error;
}

std::vector<std::string> RecordingClient::events() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_events;
}

std::vector<std::string> RecordingClient::notifications() const {
    return eventsAfter(events(), "noti ");
}

std::vector<int> RecordingClient::statuses() const {
    std::vector<int> statuses;
    for (const std::string& status : eventsAfter(events(), "status ")) {
        statuses.push_back(std::stoi(status));
    }
    return statuses;
}

bool RecordingClient::allOnOneOtherThread() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    for (std::thread::id thread : m_threads) {
        if (thread == m_creator || thread != m_threads.front()) {
            return false;
        }
    }
    return true;
}

bool RecordingClient::waitFor(const std::string& prefix, size_t count) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::seconds(5),
                              [&] { return eventsAfter(m_events, prefix).size() >= count; });
}

void RecordingClient::onNextResult(std::function<void()> hook) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_hook = std::move(hook);
}

void RecordingClient::_record(const std::string& event) {
    m_events.push_back(event);
    m_threads.push_back(std::this_thread::get_id());
    m_changed.notify_all();
}

void RecordingClient::onStatus(dynf_protocol_h, const char*, dynf_service_status status,
                               void* self) {
    auto* client = static_cast<RecordingClient*>(self);
    std::lock_guard<std::mutex> lock(client->m_mutex);
    client->_record("status " + std::to_string(status));
}

void RecordingClient::onNotification(dynf_protocol_h, const char*, dynf_property_list_h list,
                                     void* self) {
    auto* client = static_cast<RecordingClient*>(self);
    std::string values;
    for (const std::string& value : describe(list)) {
        values += (values.empty() ? "" : ",") + value;
    }
    std::lock_guard<std::mutex> lock(client->m_mutex);
    client->_record("noti " + values);
}

void RecordingClient::onResult(dynf_protocol_h, dynf_error error, dynf_property_list_h list,
                               void* data) {
    auto* tag = static_cast<Tag*>(data);
    RecordingClient* client = tag->self;
    std::function<void()> hook;
    {
        std::lock_guard<std::mutex> lock(client->m_mutex);
        hook.swap(client->m_hook);
    }
    if (hook) {
        hook();
    }
    Result result;
    result.error = error;
    result.hasList = list != nullptr;
    result.values = describe(list);
    result.requestId = tag->requestId;
    std::lock_guard<std::mutex> lock(client->m_mutex);
    client->m_results.push_back(result);
    client->_record("result " + std::to_string(error));
}

constexpr char VirtualTvTest::kFastReboot[];

void VirtualTvTest::TearDown() {
    ipc_tv::stop();
    ipc_platform::shutdown();
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
}

std::string VirtualTvTest::profile(const std::string& tvSection,
                                   const std::string& featureconf) const {
    const std::string base = testsupport::makeProfile(featureconf);
    return tvSection.empty() ? base : "{\"tv\": " + tvSection + ", " + base.substr(1);
}

std::string VirtualTvTest::startError(const std::string& tvSection) {
    testsupport::writeFile(m_dir.file("profile.json"), profile(tvSection));
    if (m_options.dataDir.empty()) {
        m_options.dataDir = m_dir.path();
        m_options.resourceDir = m_dir.path();
        m_options.profile = m_dir.file("profile.json");
    }
    std::string error;
    if (!ipc_platform::isInitialized() && !ipc_platform::initialize(m_options, error)) {
        return "platform: " + error;
    }
    return ipc_tv::start(error) ? std::string() : error;
}

void VirtualTvTest::startTv(const std::string& tvSection) {
    ASSERT_EQ("", startError(tvSection));
}

void VirtualTvTest::startShippedTv(const std::string& name) {
    m_options.dataDir = m_dir.path();
    m_options.resourceDir = IPC_TEST_RESOURCE_DIR;
    m_options.profile = name;
    startTv("");
}

void VirtualTvTest::restartTv() {
    ipc_tv::stop();
    std::string error;
    ASSERT_TRUE(ipc_tv::start(error)) << error;
}

void VirtualTvTest::setKnobs(const std::string& json) {
    const auto tv = ipc_tv::currentTv();
    ASSERT_NE(nullptr, tv);
    std::string error;
    ipc_platform::JsonNodePtr node = ipc_platform::parseJsonText(json, error);
    ASSERT_TRUE(tv->applyKnobs(node.get(), error)) << error;
}

}  // namespace tv_test
