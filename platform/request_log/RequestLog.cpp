// The latest finished JSON-RPC requests, for the admin state section "requests".
#include "RequestLog.h"

#include <glib.h>
#include <json-glib/json-glib.h>

#include "Utf8Text.h"

namespace ipc_platform {

namespace {

// Protects g_current.
std::mutex g_currentMutex;
std::weak_ptr<RequestLog> g_current;

// At most maxBytes of value, cut at a character boundary; "…" marks a cut.
std::string shortened(const char* value, size_t maxBytes) {
    std::string result = validUtf8(value);
    if (result.size() <= maxBytes) {
        return result;
    }
    const gchar* end = g_utf8_find_prev_char(result.c_str(), result.c_str() + maxBytes + 1);
    result.resize(end != nullptr ? static_cast<size_t>(end - result.c_str()) : 0);
    return result + "\u2026";
}

const char* kindName(request_log_kind_e kind) {
    switch (kind) {
        case REQUEST_LOG_KIND_READ:
            return "read";
        case REQUEST_LOG_KIND_WRITE:
            return "write";
        case REQUEST_LOG_KIND_PAIR:
            return "pair";
        case REQUEST_LOG_KIND_OTHER:
            break;
    }
    return "other";
}

}  // namespace

RequestLog::RequestLog(size_t capacity) : m_capacity(capacity > 0 ? capacity : 1) {}

void RequestLog::setListener(std::function<void()> listener) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_listener = std::move(listener);
}

void RequestLog::add(const request_log_entry_s& entry) {
    // Everything is copied before the lock is taken, so other requests wait only for the move.
    Entry copy;
    copy.timeMs = g_get_real_time() / 1000;
    copy.client = validUtf8(entry.client);
    copy.method = validUtf8(entry.method);
    copy.kind = entry.kind;
    copy.httpStatus = entry.http_status;
    copy.errorCode = entry.error_code;
    copy.errorMessage = validUtf8(entry.error_message);
    copy.answer = shortened(entry.answer, REQUEST_LOG_MAX_ANSWER);
    copy.durationMs = entry.duration_ms;
    std::function<void()> listener;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        copy.sequence = m_nextSequence++;
        if (m_entries.size() == m_capacity) {
            m_entries.pop_front();
        }
        m_entries.push_back(std::move(copy));
        listener = m_listener;
    }
    if (listener) {
        listener();
    }
}

JsonNodePtr RequestLog::toJson() const {
    std::deque<Entry> entries;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        entries = m_entries;
    }
    JsonArray* array = json_array_new();
    for (const Entry& entry : entries) {
        JsonObject* object = json_object_new();
        json_object_set_int_member(object, "seq", static_cast<gint64>(entry.sequence));
        json_object_set_int_member(object, "time", entry.timeMs);
        json_object_set_string_member(object, "client", entry.client.c_str());
        json_object_set_string_member(object, "method", entry.method.c_str());
        json_object_set_string_member(object, "kind", kindName(entry.kind));
        json_object_set_int_member(object, "status", entry.httpStatus);
        json_object_set_int_member(object, "errorCode", entry.errorCode);
        json_object_set_string_member(object, "errorMessage", entry.errorMessage.c_str());
        json_object_set_string_member(object, "answer", entry.answer.c_str());
        json_object_set_int_member(object, "ms", entry.durationMs);
        json_array_add_object_element(array, object);
    }
    JsonNode* node = json_node_new(JSON_NODE_ARRAY);
    json_node_take_array(node, array);
    return JsonNodePtr(node);
}

void RequestLog::install(const std::shared_ptr<RequestLog>& log) {
    std::lock_guard<std::mutex> lock(g_currentMutex);
    g_current = log;
}

std::shared_ptr<RequestLog> RequestLog::current() {
    std::lock_guard<std::mutex> lock(g_currentMutex);
    return g_current.lock();
}

}  // namespace ipc_platform
