// Test stand-in for the property framework's protocol, linked in place of the real one: records
// every call and lets a test answer requests and report service status.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "dynf.h"

namespace fakedynf {

// A property as the stand-in saw it.
struct Property {
    std::string name;
    dynf_property_type_e type = DYNF_PROPERTY_INT;
    int intValue = 0;
    bool boolValue = false;
    std::string text;  // string and JSON-string properties
};

// One get or set call.
struct Call {
    bool isSet = false;
    std::vector<Property> properties;  // the list the caller handed over
    bool accepted = false;
    bool answered = false;
    dynf_protocol_h handle = nullptr;
    dynf_result_cb callback = nullptr;
    void* userData = nullptr;
};

// The framework's state and the test's controls. Callbacks run on a thread of their own, which
// each driving call starts and joins. Thread-safe.
class Framework {
    // Runs work under the lock and gives back what it returns.
    template <typename Work>
    auto locked(Work work) const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return work();
    }

public:
    static Framework& instance();

    // Back to a running framework with no handle, call or setting.
    void reset();

    // Settings, made before the calls they affect.
    void setCreateFails(bool fails) {
        locked([&] { m_createFails = fails; });
    }
    // The subscription with this index (0 = the first one) fails.
    void setSubscriptionFailure(int index) {
        locked([&] { m_subscriptionFailure = index; });
    }
    // get/set calls answer result (non-zero refuses them).
    void setCallResult(int result) {
        locked([&] { m_callResult = result; });
    }
    // Runs inside dynf_protocol_create, after the handle has its callbacks.
    void setOnCreate(std::function<void(dynf_protocol_h)> onCreate) {
        locked([&] { m_onCreate = std::move(onCreate); });
    }
    // dynf_protocol_destroy answers the handle's open calls with error instead of dropping them.
    void setAnswerOpenCallsOnDestroy(bool answer, dynf_error error) {
        locked([&] { m_answerOnDestroy = answer, m_destroyError = error; });
    }

    // Observation.
    std::vector<Call> calls() const {
        return locked([&] { return m_calls; });
    }
    std::vector<std::string> subscriptions() const {
        return locked([&] { return m_subscriptions; });
    }
    std::vector<std::string> unsubscriptions() const {
        return locked([&] { return m_unsubscriptions; });
    }
    int liveHandles() const {
        return locked([&] { return static_cast<int>(m_handles.size()); });
    }

    // Answers call index with error and result (taken over; may be null). False when that call
    // is not waiting for an answer.
    bool answer(size_t index, dynf_error error, dynf_property_list_h result);
    // Reports a service status on the last created handle.
    void sendStatus(const std::string& service, dynf_service_status status);
    // The same on a given handle (usable inside the create hook).
    void sendStatus(dynf_protocol_h handle, const std::string& service, dynf_service_status status);

    // Framework side of the C functions.
    dynf_protocol_h create(dynf_service_status_cb status, void* userData);
    int destroy(dynf_protocol_h handle);
    int subscribe(dynf_protocol_h handle, const char* service, bool subscribing);
    int property(bool isSet, dynf_protocol_h handle, dynf_property_list_h properties,
                 dynf_result_cb callback, uint32_t* requestId, void* userData);

private:
    mutable std::mutex m_mutex;  // protects every member below
    bool m_createFails = false;
    int m_subscriptionFailure = -1;
    int m_subscriptionCount = 0;
    int m_callResult = 0;
    bool m_answerOnDestroy = false;
    dynf_error m_destroyError = DYNF_ERROR_NONE;
    std::function<void(dynf_protocol_h)> m_onCreate;
    std::vector<Call> m_calls;
    std::vector<std::string> m_subscriptions;
    std::vector<std::string> m_unsubscriptions;
    std::vector<dynf_protocol_h> m_handles;  // live handles, the last created at the back
};

// A result list with one string property.
dynf_property_list_h stringList(const std::string& name, const std::string& value);

// The properties of list (not taken over); empty for null.
std::vector<Property> describe(dynf_property_list_h list);

// Frees list after the test looked at it.
struct ListDeleter {
    void operator()(dynf_property_list_h list) const { dynf_property_list_destroy(list); }
};

}  // namespace fakedynf
