// The pop-up on the TV screen: replacement, hide timeout, answers and event delivery.
#include "NotificationCenter.h"

#include <glib.h>

#include "ApprovalBackend.h"
#include "PlatformLog.h"
#include "dlog.h"
#include "notification.h"

namespace ipc_platform {

namespace {

bool offers(const NotificationContent& content, int event) {
    switch (event) {
        case NOTIFICATION_EVENT_BUTTON_1:
        case NOTIFICATION_EVENT_BUTTON_2:
        case NOTIFICATION_EVENT_BUTTON_3:
            return content.hasButton(event + 1);
        case NOTIFICATION_EVENT_HIDDEN_BY_USER:
        case NOTIFICATION_EVENT_HIDDEN_BY_TIMEOUT:
        case NOTIFICATION_EVENT_HIDDEN_BY_EXTERNAL:
            return true;
        default:
            return false;
    }
}

}  // namespace

NotificationCenter::NotificationCenter(std::unique_ptr<ApprovalBackend> backend)
    : m_backend(std::move(backend)) {}

NotificationCenter::~NotificationCenter() = default;

uint64_t NotificationCenter::post(const NotificationContent& content, EventCallback callback) {
    const std::weak_ptr<NotificationCenter> weak = weak_from_this();
    uint64_t id = 0;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stopped) {
            return 0;
        }
        if (m_current) {
            for (MainLoopTimers::Id timer : m_current->timers) {
                m_timers.cancel(timer);
            }
            dlog_print(DLOG_INFO, kLogTag, "pop-up %llu replaced",
                       static_cast<unsigned long long>(m_current->id));
        }
        for (const auto& queued : m_queued) {
            m_timers.cancel(queued.second);
        }
        m_queued.clear();
        Popup popup;
        popup.id = id = m_nextId++;
        popup.content = content;
        popup.callback = std::move(callback);
        popup.postedAtUs = g_get_monotonic_time();
        if (content.hideTimeoutMs > 0) {
            popup.timers.push_back(m_timers.add(content.hideTimeoutMs, [weak, id] {
                if (auto center = weak.lock()) {
                    center->_fire(id, NOTIFICATION_EVENT_HIDDEN_BY_TIMEOUT);
                }
            }));
        }
        m_current = std::move(popup);
    }
    dlog_print(DLOG_INFO, kLogTag, "pop-up %llu shown: \"%s\"", static_cast<unsigned long long>(id),
               content.title.c_str());
    if (m_backend != nullptr) {
        m_backend->popupPosted(*this, id);
    }
    _notifyListener();
    return id;
}

NotificationCenter::AnswerResult NotificationCenter::_takeLocked(uint64_t popupId, int event,
                                                                 Popup& taken) {
    if (!m_current || (popupId != 0 && popupId != m_current->id)) {
        return AnswerResult::NothingShowing;
    }
    if (!offers(m_current->content, event)) {
        return AnswerResult::NotOffered;
    }
    for (MainLoopTimers::Id timer : m_current->timers) {
        m_timers.cancel(timer);
    }
    taken = std::move(*m_current);
    taken.timers.clear();
    m_current.reset();
    dlog_print(DLOG_INFO, kLogTag, "pop-up %llu taken down with event %d",
               static_cast<unsigned long long>(taken.id), event);
    return AnswerResult::Answered;
}

NotificationCenter::AnswerResult NotificationCenter::answer(int event, uint64_t popupId) {
    if (event == NOTIFICATION_EVENT_HIDDEN_BY_TIMEOUT) {
        return AnswerResult::NotOffered;  // only the pop-up's own timeout sends it
    }
    const std::weak_ptr<NotificationCenter> weak = weak_from_this();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        Popup taken;
        const AnswerResult result = _takeLocked(popupId, event, taken);
        if (result != AnswerResult::Answered) {
            return result;
        }
        // Handed to the main loop: the answer may come from any thread, the event may not.
        const uint64_t key = m_nextKey++;
        m_queued[key] = m_timers.add(0, [weak, key, taken = std::move(taken), event] {
            if (auto center = weak.lock()) {
                center->_deliverQueued(key, taken, event);
            }
        });
    }
    _notifyListener();
    return AnswerResult::Answered;
}

void NotificationCenter::answerLater(uint64_t popupId, int event, unsigned int delayMs) {
    const std::weak_ptr<NotificationCenter> weak = weak_from_this();
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_current && m_current->id == popupId) {
        m_current->timers.push_back(m_timers.add(delayMs, [weak, popupId, event] {
            if (auto center = weak.lock()) {
                center->_fire(popupId, event);
            }
        }));
    }
}

void NotificationCenter::_fire(uint64_t popupId, int event) {
    Popup taken;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const AnswerResult result = _takeLocked(popupId, event, taken);
        if (result == AnswerResult::NotOffered) {
            dlog_print(DLOG_WARN, kLogTag, "pop-up %llu has no button for event %d",
                       static_cast<unsigned long long>(popupId), event);
        }
        if (result != AnswerResult::Answered) {
            return;
        }
    }
    _deliver(taken, event);
}

void NotificationCenter::_deliverQueued(uint64_t key, const Popup& popup, int event) {
    {
        // Gone when a later post dropped it just as the main loop picked it up.
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_queued.erase(key) == 0) {
            return;
        }
    }
    _deliver(popup, event);
}

void NotificationCenter::_deliver(const Popup& popup, int event) {
    if (popup.callback) {
        popup.callback(event, popup.content);
    }
    _notifyListener();
}

std::optional<NotificationCenter::Showing> NotificationCenter::showing() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_current) {
        return std::nullopt;
    }
    Showing showing;
    showing.id = m_current->id;
    showing.content = m_current->content;
    if (m_current->content.hideTimeoutMs > 0) {
        const int64_t elapsedMs = (g_get_monotonic_time() - m_current->postedAtUs) / 1000;
        const int64_t left = static_cast<int64_t>(m_current->content.hideTimeoutMs) - elapsedMs;
        showing.remainingMs = left > 0 ? static_cast<unsigned int>(left) : 0;
    }
    return showing;
}

void NotificationCenter::setListener(Listener listener) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_listener = std::move(listener);
}

void NotificationCenter::_notifyListener() {
    Listener listener;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        listener = m_listener;
    }
    if (listener) {
        listener();
    }
}

void NotificationCenter::stop() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopped = true;
        m_current.reset();
        m_queued.clear();
        m_listener = nullptr;
    }
    m_timers.cancelAll();
}

}  // namespace ipc_platform
