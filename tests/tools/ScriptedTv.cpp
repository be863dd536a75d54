// Test support: the scripted TV's callback and controls.
#include "tools/ScriptedTv.h"

#include "ipsvr.h"

namespace {

constexpr unsigned int kSilentDeadlineMs = 300;

}  // namespace

ScriptedTv::ScriptedTv() {
    ipsvr_setResponseTimeoutMs(kSilentDeadlineMs);
    ipsvr_setCallback(&ScriptedTv::onRequest, this);
    if (ipsvr_start(0) == IPSVR_OK) {
        m_port = static_cast<unsigned short>(ipsvr_getPort());
    }
}

ScriptedTv::~ScriptedTv() {
    ipsvr_stop();
    ipsvr_setCallback(nullptr, nullptr);
    ipsvr_setResponseTimeoutMs(0);
}

void ScriptedTv::answerWith(Answer answer) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_answer = std::move(answer);
}

void ScriptedTv::stopService() {
    ipsvr_setCallback(nullptr, nullptr);
}

std::vector<common::json::JsonValue> ScriptedTv::requests() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<common::json::JsonValue> parsed;
    for (const std::string& body : m_requests) {
        parsed.push_back(common::json::JsonValue::Create(body));
    }
    return parsed;
}

void ScriptedTv::onRequest(unsigned int clientId, const char* json, void* self) {
    auto* tv = static_cast<ScriptedTv*>(self);
    Answer answer;
    {
        std::lock_guard<std::mutex> lock(tv->m_mutex);
        tv->m_requests.push_back(json);
        answer = tv->m_answer;
    }
    if (!answer.silent) {
        ipsvr_sendResponse(clientId, answer.body.c_str(), answer.refused);
    }
}
