// Reports every finished JSON-RPC request to the platform's request log.
#include "Manager/RequestJournal.h"

#include <exception>

#include "Log.h"

using common::json::JsonValue;

namespace {

const char* const kAccessToken = "AccessToken";

// Code and message of an error object; the data, when there is one, is part of the message.
void readError(const std::string& errorText, int& code, std::string& message) {
    try {
        const JsonValue error = JsonValue::Create(errorText);
        code = error["code"].asInt();
        message = error["message"].asString();
        if (error.isMember("data")) {
            message += ": " + error["data"].asString();
        }
    } catch (const std::exception& e) {
        code = 0;
        message = errorText;
    }
}

}  // namespace

void RequestJournal::begin(unsigned int clientId, Clock::time_point arrived,
                           const std::string& client, const std::string& method,
                           request_log_kind_e kind) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_open.size() >= kMaxOpen) {
        m_open.erase(m_open.begin());
    }
    m_open[clientId] = Open{arrived, client, method, kind};
}

void RequestJournal::finish(unsigned int clientId, int httpStatus, const std::string& errorText,
                            const std::string& answer) {
    Open open;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto found = m_open.find(clientId);
        if (found == m_open.end()) {
            return;
        }
        open = std::move(found->second);
        m_open.erase(found);
    }
    int code = 0;
    std::string message;
    if (!errorText.empty()) {
        readError(errorText, code, message);
    } else if (httpStatus != 200) {
        message = "refused without a body";
    }
    request_log_entry_s entry = {};
    entry.client = open.client.c_str();
    entry.method = open.method.c_str();
    entry.kind = open.kind;
    entry.http_status = httpStatus;
    entry.error_code = code;
    entry.error_message = message.c_str();
    entry.answer = answer.c_str();
    entry.duration_ms = static_cast<unsigned int>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - open.arrived).count());
    // Without an admin server (tests, a host without the page) nothing is recorded.
    request_log_add(&entry);
}

void RequestJournal::clear() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_open.clear();
}

request_log_kind_e RequestJournal::kindOf(const std::string& method, const JsonValue& params) {
    if (method == "createAccessToken") {
        return REQUEST_LOG_KIND_PAIR;
    }
    if (method == "getCabinetStates" || params.type() != common::json::JsonType::objectValue) {
        return REQUEST_LOG_KIND_READ;
    }
    for (const std::string& name : params.getMemberNames()) {
        if (name != kAccessToken) {
            return REQUEST_LOG_KIND_WRITE;
        }
    }
    return REQUEST_LOG_KIND_READ;
}
