// Test support: a TV stand-in on a free port that records every request and answers it from a
// script, on the HTTP server library.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "JsonValue.h"

// The library runs one server per process, so one ScriptedTv at a time. The request callback
// runs on the library's thread; every public operation is thread-safe.
class ScriptedTv {
public:
    // How later requests are answered.
    struct Answer {
        std::string body;
        bool refused = false;  // 403 instead of 200
        bool silent = false;   // no answer at all: the library sends 504 after its deadline
    };

    ScriptedTv();  // listens on a free port; port() is 0 when that failed
    ~ScriptedTv();
    ScriptedTv(const ScriptedTv&) = delete;
    ScriptedTv& operator=(const ScriptedTv&) = delete;

    unsigned short port() const { return m_port; }
    void answerWith(Answer answer);
    // Requests arrive with no callback registered: the library answers 503.
    void stopService();
    // The bodies of the requests so far, parsed.
    std::vector<common::json::JsonValue> requests() const;

private:
    static void onRequest(unsigned int clientId, const char* json, void* self);

    unsigned short m_port = 0;
    mutable std::mutex m_mutex;  // guards m_answer and m_requests
    Answer m_answer;
    std::vector<std::string> m_requests;
};
