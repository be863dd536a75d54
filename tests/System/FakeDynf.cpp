// The property framework stand-in: recorded protocol calls and callbacks that the test triggers,
// each on a thread of its own. Properties and lists are the virtual TV's.
#include "System/FakeDynf.h"

#include <algorithm>
#include <thread>

struct dynf_protocol_s {
    dynf_service_status_cb status = nullptr;
    void* userData = nullptr;
};

namespace fakedynf {

namespace {

// Runs work on a thread of its own, as the framework's callback thread would, and waits for it.
void onCallbackThread(const std::function<void()>& work) {
    std::thread thread(work);
    thread.join();
}

}  // namespace

Framework& Framework::instance() {
    static Framework framework;
    return framework;
}

void Framework::reset() {
    std::lock_guard<std::mutex> lock(m_mutex);
    for (dynf_protocol_h handle : m_handles) {
        delete handle;
    }
    m_handles.clear();
    m_createFails = m_answerOnDestroy = false;
    m_subscriptionFailure = -1;
    m_subscriptionCount = m_callResult = 0;
    m_destroyError = DYNF_ERROR_NONE;
    m_onCreate = nullptr;
    m_calls.clear();
    m_subscriptions.clear();
    m_unsubscriptions.clear();
}

bool Framework::answer(size_t index, dynf_error error, dynf_property_list_h result) {
    Call call;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (index >= m_calls.size() || !m_calls[index].accepted || m_calls[index].answered) {
            dynf_property_list_destroy(result);
            return false;
        }
        m_calls[index].answered = true;
        call = m_calls[index];
    }
    onCallbackThread([&] { call.callback(call.handle, error, result, call.userData); });
    dynf_property_list_destroy(result);
    return true;
}

void Framework::sendStatus(const std::string& service, dynf_service_status status) {
    dynf_protocol_h handle = nullptr;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_handles.empty()) {
            return;
        }
        handle = m_handles.back();
    }
    sendStatus(handle, service, status);
}

void Framework::sendStatus(dynf_protocol_h handle, const std::string& service,
                           dynf_service_status status) {
    onCallbackThread([&] { handle->status(handle, service.c_str(), status, handle->userData); });
}

dynf_protocol_h Framework::create(dynf_service_status_cb status, void* userData) {
    std::function<void(dynf_protocol_h)> onCreate;
    auto* handle = new dynf_protocol_s{status, userData};
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_createFails) {
            delete handle;
            return nullptr;
        }
        m_handles.push_back(handle);
        onCreate = m_onCreate;
    }
    if (onCreate) {
        onCreate(handle);
    }
    return handle;
}

int Framework::destroy(dynf_protocol_h handle) {
    std::vector<Call> open;
    dynf_error error = DYNF_ERROR_NONE;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto found = std::find(m_handles.begin(), m_handles.end(), handle);
        if (found == m_handles.end()) {
            return -1;
        }
        m_handles.erase(found);
        for (Call& call : m_calls) {
            if (call.handle == handle && call.accepted && !call.answered) {
                call.answered = true;
                open.push_back(call);
            }
        }
        if (!m_answerOnDestroy) {
            open.clear();  // dropped: their callbacks never run
        }
        error = m_destroyError;
    }
    for (const Call& call : open) {
        onCallbackThread([&] { call.callback(call.handle, error, nullptr, call.userData); });
    }
    delete handle;
    return 0;
}

int Framework::subscribe(dynf_protocol_h handle, const char* service, bool subscribing) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (handle == nullptr || service == nullptr) {
        return -1;
    }
    if (!subscribing) {
        m_unsubscriptions.push_back(service);
        return 0;
    }
    if (m_subscriptionCount++ == m_subscriptionFailure) {
        return -1;
    }
    m_subscriptions.push_back(service);
    return 0;
}

int Framework::property(bool isSet, dynf_protocol_h handle, dynf_property_list_h properties,
                        dynf_result_cb callback, uint32_t* requestId, void* userData) {
    Call call;
    call.isSet = isSet;
    call.properties = describe(properties);
    dynf_property_list_destroy(properties);  // taken over in every case
    call.handle = handle;
    call.callback = callback;
    call.userData = userData;
    std::lock_guard<std::mutex> lock(m_mutex);
    call.accepted = m_callResult == 0 && handle != nullptr && callback != nullptr;
    if (requestId != nullptr) {
        *requestId = static_cast<uint32_t>(m_calls.size());
    }
    m_calls.push_back(call);
    return call.accepted ? 0 : (m_callResult != 0 ? m_callResult : -1);
}

dynf_property_list_h stringList(const std::string& name, const std::string& value) {
    dynf_property_list_h list = dynf_property_list_create();
    dynf_property_list_push(list, dynf_property_create_string(name.c_str(), value.c_str()));
    return list;
}

std::vector<Property> describe(dynf_property_list_h list) {
    std::vector<Property> properties;
    for (size_t i = 0; i < dynf_property_list_size(list); ++i) {
        dynf_property_h handle = dynf_property_list_get(list, i);
        Property property;
        property.name = dynf_property_get_name(handle);
        property.type = dynf_property_get_type(handle);
        const char* text = nullptr;
        if (dynf_property_get_string(handle, &text) == 0) {
            property.text = text;
        }
        dynf_property_get_int(handle, &property.intValue);
        dynf_property_get_bool(handle, &property.boolValue);
        properties.push_back(property);
    }
    return properties;
}

}  // namespace fakedynf

using fakedynf::Framework;

extern "C" {

dynf_protocol_h dynf_protocol_create(dynf_service_status_cb status_cb, dynf_noti_cb /*noti_cb*/,
                                     void* user_data) {
    return Framework::instance().create(status_cb, user_data);
}

int dynf_protocol_destroy(dynf_protocol_h handle) {
    return Framework::instance().destroy(handle);
}

int dynf_protocol_subscribe_service(dynf_protocol_h handle, const char* service_name) {
    return Framework::instance().subscribe(handle, service_name, true);
}

int dynf_protocol_unsubscribe_service(dynf_protocol_h handle, const char* service_name) {
    return Framework::instance().subscribe(handle, service_name, false);
}

int dynf_protocol_get_property(dynf_protocol_h handle, const char* /*service_name*/,
                               dynf_property_list_h properties, dynf_result_cb result_cb,
                               int /*flags*/, uint32_t* request_id, void* user_data) {
    return Framework::instance().property(false, handle, properties, result_cb, request_id,
                                          user_data);
}

int dynf_protocol_set_property(dynf_protocol_h handle, const char* /*service_name*/,
                               dynf_property_list_h properties, dynf_result_cb result_cb,
                               int /*flags*/, uint32_t* request_id, void* user_data) {
    return Framework::instance().property(true, handle, properties, result_cb, request_id,
                                          user_data);
}

}  // extern "C"
