// The latest finished JSON-RPC requests, for the admin state section "requests".
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "AdminJson.h"
#include "request_log.h"

namespace ipc_platform {

// A ring of at most `capacity` entries, newest last. Thread-safe: add() comes from the plug-in's
// request threads (server library and worker), toJson() from the admin server's connection
// threads. The lock covers only copying entries in and out; the change listener runs after it is
// released, on the adding thread.
//
// The admin part installs the log of the running admin server (install); request_log_add finds it
// through current(), which is null once that server and its sections are gone.
class RequestLog {
public:
    struct Entry {
        uint64_t sequence = 0;  // 1 for the first entry of this log, never reused
        int64_t timeMs = 0;     // wall-clock time of the answer, ms since the epoch
        std::string client;
        std::string method;
        request_log_kind_e kind = REQUEST_LOG_KIND_OTHER;
        int httpStatus = 0;
        int errorCode = 0;
        std::string errorMessage;
        std::string answer;
        unsigned int durationMs = 0;
    };

    explicit RequestLog(size_t capacity = REQUEST_LOG_CAPACITY);

    // Called after every add; must be thread-safe.
    void setListener(std::function<void()> listener);
    void add(const request_log_entry_s& entry);
    // A JSON array of the entries, oldest first: {"seq","time","client","method","kind",
    // "status","errorCode","errorMessage","answer","ms"}; kind is "read", "write", "pair" or
    // "other".
    JsonNodePtr toJson() const;

    static void install(const std::shared_ptr<RequestLog>& log);
    static std::shared_ptr<RequestLog> current();

private:
    const size_t m_capacity;
    mutable std::mutex m_mutex;  // protects everything below
    std::deque<Entry> m_entries;
    uint64_t m_nextSequence = 1;
    std::function<void()> m_listener;
};

}  // namespace ipc_platform
