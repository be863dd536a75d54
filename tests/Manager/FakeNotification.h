// Recording stand-in for the platform's notifications, linked into the access manager's tests.
#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "notification.h"

// One pop-up as it was posted.
struct PostedPopup {
    std::map<int, std::string> texts;  // by text type
    std::vector<int> buttons;
    int hideTimeoutSeconds = 0;
};

// The notification functions of the test executable take precedence over the platform
// library's: they record what is posted and let the test answer as the viewer. Thread-safe.
class FakeNotifications {
public:
    static FakeNotifications& instance();

    // Forgets every pop-up and clears the failure switches.
    void reset();
    std::vector<PostedPopup> posted() const;

    // Sends event to the callback of the last pop-up posted, on the calling thread (the test's
    // main loop). False when nothing was posted.
    bool answer(int event);

    // While set, calls of that kind fail.
    std::atomic<bool> failCreate{false};
    std::atomic<bool> failTag{false};
    std::atomic<bool> failPost{false};

    // Used by the stand-in functions.
    void recordPost(const PostedPopup& popup, notification_event_cb callback, void* data);

private:
    mutable std::mutex m_mutex;  // protects every member below
    std::vector<PostedPopup> m_posted;
    notification_event_cb m_callback = nullptr;
    void* m_data = nullptr;
};
