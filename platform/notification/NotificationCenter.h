// The pop-up on the TV screen: at most one at a time, its hide timeout, and the delivery of its
// one event to the poster on the main loop.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "MainLoopTimers.h"
#include "NotificationContent.h"

namespace ipc_platform {

class ApprovalBackend;

// Holds the pop-up on screen. Thread-safe: post, answer and showing from any thread. Events and
// the hide timeout always reach the poster on the main loop (the GLib default main context),
// never inside a call of this class. Each posted pop-up gets at most one event: its answer, its
// hide timeout (101), or none when a later post replaces it. An answer whose event has not been
// delivered yet when a later pop-up is posted is dropped with its pop-up, so that an answer to
// an earlier pop-up is never mistaken for an answer to the new one. Must be owned by a
// std::shared_ptr (main-loop work holds a weak reference).
class NotificationCenter : public std::enable_shared_from_this<NotificationCenter> {
public:
    // Main loop. content describes the pop-up the event belongs to.
    using EventCallback = std::function<void(int event, const NotificationContent& content)>;
    // Called after every change of what is showing (post, answer, hide, and again once an
    // event's callback has returned), from the thread that made the change.
    using Listener = std::function<void()>;

    enum class AnswerResult {
        Answered,
        NothingShowing,  // no pop-up, or not the one the answer was meant for
        NotOffered,      // the pop-up has no such button
    };

    struct Showing {
        uint64_t id = 0;
        NotificationContent content;
        unsigned int remainingMs = 0;  // until the hide timeout; 0 when there is none
    };

    // backend may be null: then only the viewer and the admin API answer.
    explicit NotificationCenter(std::unique_ptr<ApprovalBackend> backend);
    ~NotificationCenter();
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    // Shows the pop-up in place of the one on screen (which gets no event) and arms its hide
    // timeout. Returns the pop-up's id (from 1), or 0 once stopped.
    uint64_t post(const NotificationContent& content, EventCallback callback);
    // Takes the pop-up off the screen with event 0, 1 or 2 (buttons 1 to 3), 100 (dismissed) or
    // 102 (taken down by another party); its event follows on the main loop. popupId 0 answers
    // whatever is showing; another id answers only that pop-up.
    AnswerResult answer(int event, uint64_t popupId = 0);
    // Answers pop-up popupId with event after delayMs, if it is still showing then.
    void answerLater(uint64_t popupId, int event, unsigned int delayMs);
    std::optional<Showing> showing() const;

    void setListener(Listener listener);
    // Takes the pop-up down without an event, drops undelivered events and refuses later posts.
    void stop();

private:
    struct Popup {
        uint64_t id = 0;
        NotificationContent content;
        EventCallback callback;
        int64_t postedAtUs = 0;                  // monotonic
        std::vector<MainLoopTimers::Id> timers;  // hide timeout and automatic answers
    };

    // Takes the current pop-up off the screen when it is popupId (0: any) and offers event.
    AnswerResult _takeLocked(uint64_t popupId, int event, Popup& taken);
    // Main loop: the timer of popupId fired with event.
    void _fire(uint64_t popupId, int event);
    // Main loop: runs the event's callback, then the listener.
    void _deliver(const Popup& popup, int event);
    void _deliverQueued(uint64_t key, const Popup& popup, int event);
    void _notifyListener();

    const std::unique_ptr<ApprovalBackend> m_backend;
    MainLoopTimers m_timers;

    // Protects m_current, m_queued, m_nextId, m_nextKey, m_listener and m_stopped.
    mutable std::mutex m_mutex;
    std::optional<Popup> m_current;
    std::map<uint64_t, MainLoopTimers::Id> m_queued;  // answered, event not yet delivered
    uint64_t m_nextId = 1;
    uint64_t m_nextKey = 1;
    Listener m_listener;
    bool m_stopped = false;
};

}  // namespace ipc_platform
