// Reports every finished JSON-RPC request, answered or refused, to the platform's request log
// (shown live on the TV screen page).
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>

#include "JsonValue.h"
#include "request_log.h"

// Remembers each request from its arrival (begin) until its answer goes out (finish), then hands
// the platform one entry: client, method, read or write, the answer or error and the time taken.
// Cheap on the request path: a map entry under a briefly held lock, no I/O.
//
// Thread-safe: begin() on the server library's thread, finish() there (refusals), on the worker
// thread (answers) or on the main loop (pairing outcomes). A request that never gets an answer
// through the pipeline (the server library answered it itself) stays open until clear() or until
// kMaxOpen newer ones push it out.
class RequestJournal {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr size_t kMaxOpen = 1024;

    void begin(unsigned int clientId, Clock::time_point arrived, const std::string& client,
               const std::string& method, request_log_kind_e kind);
    // errorText: the error object sent (bare or as "error"), "" on success. answer: what the
    // client got, as it may be shown. A request that was not begun is not reported.
    void finish(unsigned int clientId, int httpStatus, const std::string& errorText,
                const std::string& answer);
    void clear();

    // How the log names a request: pairing, a write when params carry anything but the token
    // (getCabinetStates takes filters and still reads), else a read.
    static request_log_kind_e kindOf(const std::string& method,
                                     const common::json::JsonValue& params);

private:
    struct Open {
        Clock::time_point arrived;
        std::string client;
        std::string method;
        request_log_kind_e kind = REQUEST_LOG_KIND_OTHER;
    };

    std::mutex m_mutex;  // protects m_open
    // By client id, which the server library never reuses and hands out in increasing order, so
    // the first entry is the oldest.
    std::map<unsigned int, Open> m_open;
};
