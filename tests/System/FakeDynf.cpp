// The property framework stand-in: plain property lists, recorded protocol calls, and callbacks
// that the test triggers, each on a thread of its own.
#include "System/FakeDynf.h"

#include <algorithm>
#include <chrono>
#include <thread>

struct dynf_property_s {
    fakedynf::Property value;
};

struct dynf_property_list_s {
    std::vector<dynf_property_h> items;
};

struct dynf_protocol_s {
    dynf_service_status_cb status = nullptr;
    dynf_noti_cb noti = nullptr;
    void* userData = nullptr;
};

namespace fakedynf {

namespace {

// Runs work on a thread of its own, as the framework's callback thread would, and waits for it.
void onCallbackThread(const std::function<void()>& work) {
    std::thread thread(work);
    thread.join();
}

dynf_property_h makeProperty(const char* name, dynf_property_type_e type) {
    if (name == nullptr) {
        return nullptr;
    }
    auto* property = new dynf_property_s;
    property->value.name = name;
    property->value.type = type;
    return property;
}

// A string or JSON-string property; null without a name or a value.
dynf_property_h makeText(const char* name, const char* text, dynf_property_type_e type) {
    dynf_property_h property = text != nullptr ? makeProperty(name, type) : nullptr;
    if (property != nullptr) {
        property->value.text = text;
    }
    return property;
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

dynf_protocol_h Framework::create(dynf_service_status_cb status, dynf_noti_cb noti,
                                  void* userData) {
    std::function<void(dynf_protocol_h)> onCreate;
    auto* handle = new dynf_protocol_s{status, noti, userData};
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

int Framework::property(bool isSet, dynf_protocol_h handle, const char* service,
                        dynf_property_list_h properties, dynf_result_cb callback, int flags,
                        uint32_t* requestId, void* userData) {
    Call call;
    call.isSet = isSet;
    call.service = service != nullptr ? service : "";
    call.flags = flags;
    if (properties != nullptr) {
        for (dynf_property_h property : properties->items) {
            call.properties.push_back(property->value);
        }
    }
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
    if (list != nullptr) {
        for (dynf_property_h property : list->items) {
            properties.push_back(property->value);
        }
    }
    return properties;
}

}  // namespace fakedynf

using fakedynf::Framework;

extern "C" {

dynf_protocol_h dynf_protocol_create(dynf_service_status_cb status_cb, dynf_noti_cb noti_cb,
                                     void* user_data) {
    return Framework::instance().create(status_cb, noti_cb, user_data);
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

int dynf_protocol_get_property(dynf_protocol_h handle, const char* service_name,
                               dynf_property_list_h properties, dynf_result_cb result_cb, int flags,
                               uint32_t* request_id, void* user_data) {
    return Framework::instance().property(false, handle, service_name, properties, result_cb, flags,
                                          request_id, user_data);
}

int dynf_protocol_set_property(dynf_protocol_h handle, const char* service_name,
                               dynf_property_list_h properties, dynf_result_cb result_cb, int flags,
                               uint32_t* request_id, void* user_data) {
    return Framework::instance().property(true, handle, service_name, properties, result_cb, flags,
                                          request_id, user_data);
}

dynf_property_h dynf_property_create_int(const char* name, int value) {
    dynf_property_h property = fakedynf::makeProperty(name, DYNF_PROPERTY_INT);
    if (property != nullptr) {
        property->value.intValue = value;
    }
    return property;
}

dynf_property_h dynf_property_create_bool(const char* name, bool value) {
    dynf_property_h property = fakedynf::makeProperty(name, DYNF_PROPERTY_BOOL);
    if (property != nullptr) {
        property->value.boolValue = value;
    }
    return property;
}

dynf_property_h dynf_property_create_string(const char* name, const char* value) {
    return fakedynf::makeText(name, value, DYNF_PROPERTY_STRING);
}

dynf_property_h dynf_property_create_json_string(const char* name, const char* json) {
    return fakedynf::makeText(name, json, DYNF_PROPERTY_JSON_STRING);
}

void dynf_property_destroy(dynf_property_h property) {
    delete property;
}

const char* dynf_property_get_name(dynf_property_h property) {
    return property != nullptr ? property->value.name.c_str() : nullptr;
}

dynf_property_type_e dynf_property_get_type(dynf_property_h property) {
    return property != nullptr ? property->value.type : DYNF_PROPERTY_INT;
}

int dynf_property_get_int(dynf_property_h property, int* value) {
    if (property == nullptr || value == nullptr || property->value.type != DYNF_PROPERTY_INT) {
        return -1;
    }
    *value = property->value.intValue;
    return 0;
}

int dynf_property_get_bool(dynf_property_h property, bool* value) {
    if (property == nullptr || value == nullptr || property->value.type != DYNF_PROPERTY_BOOL) {
        return -1;
    }
    *value = property->value.boolValue;
    return 0;
}

int dynf_property_get_string(dynf_property_h property, const char** value) {
    if (property == nullptr || value == nullptr ||
        (property->value.type != DYNF_PROPERTY_STRING &&
         property->value.type != DYNF_PROPERTY_JSON_STRING)) {
        return -1;
    }
    *value = property->value.text.c_str();
    return 0;
}

dynf_property_list_h dynf_property_list_create(void) {
    return new dynf_property_list_s;
}

void dynf_property_list_destroy(dynf_property_list_h list) {
    if (list == nullptr) {
        return;
    }
    for (dynf_property_h property : list->items) {
        delete property;
    }
    delete list;
}

int dynf_property_list_push(dynf_property_list_h list, dynf_property_h property) {
    if (list == nullptr || property == nullptr) {
        return -1;
    }
    list->items.push_back(property);
    return 0;
}

size_t dynf_property_list_size(dynf_property_list_h list) {
    return list != nullptr ? list->items.size() : 0;
}

dynf_property_h dynf_property_list_get(dynf_property_list_h list, size_t index) {
    return list != nullptr && index < list->items.size() ? list->items[index] : nullptr;
}

dynf_property_h dynf_property_list_find(dynf_property_list_h list, const char* name) {
    if (list == nullptr || name == nullptr) {
        return nullptr;
    }
    for (dynf_property_h property : list->items) {
        if (property->value.name == name) {
            return property;
        }
    }
    return nullptr;
}

}  // extern "C"
