// Recording stand-in for the platform's notification functions (replaces them at link time).
#include "Manager/FakeNotification.h"

struct notification_s {
    PostedPopup popup;
};

FakeNotifications& FakeNotifications::instance() {
    static FakeNotifications fake;
    return fake;
}

void FakeNotifications::reset() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_posted.clear();
    m_callback = nullptr;
    m_data = nullptr;
    failCreate = failTag = failPost = false;
}

std::vector<PostedPopup> FakeNotifications::posted() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_posted;
}

bool FakeNotifications::answer(int event) {
    notification_event_cb callback = nullptr;
    void* data = nullptr;
    notification_s noti;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_posted.empty()) {
            return false;
        }
        callback = m_callback;
        data = m_data;
        noti.popup = m_posted.back();
    }
    // Called without the lock, as the platform does: the receiver may post the next pop-up.
    callback(&noti, event, data);
    return true;
}

void FakeNotifications::recordPost(const PostedPopup& popup, notification_event_cb callback,
                                   void* data) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_posted.push_back(popup);
    m_callback = callback;
    m_data = data;
}

extern "C" {

notification_h notification_create(notification_type_e /*type*/) {
    return FakeNotifications::instance().failCreate ? nullptr : new notification_s;
}

int notification_set_text(notification_h noti, notification_text_type_e type, const char* text,
                          const char* /*key*/) {
    noti->popup.texts[type] = text != nullptr ? text : "";
    return NOTIFICATION_ERROR_NONE;
}

int notification_add_button(notification_h noti, notification_button_index_e index) {
    noti->popup.buttons.push_back(index);
    return NOTIFICATION_ERROR_NONE;
}

int notification_set_display_applist(notification_h /*noti*/, int /*applist*/) {
    return NOTIFICATION_ERROR_NONE;
}

int notification_zt_set_hide_timeout(notification_h noti, int seconds) {
    noti->popup.hideTimeoutSeconds = seconds;
    return NOTIFICATION_ERROR_NONE;
}

int notification_set_layout(notification_h /*noti*/, int /*layout*/) {
    return NOTIFICATION_ERROR_NONE;
}

int notification_set_tag(notification_h /*noti*/, const char* /*tag*/) {
    return FakeNotifications::instance().failTag ? NOTIFICATION_ERROR_INVALID_PARAMETER
                                                 : NOTIFICATION_ERROR_NONE;
}

int notification_zt_post_with_event_cb(notification_h noti, notification_event_cb callback,
                                       void* user_data) {
    if (FakeNotifications::instance().failPost) {
        return NOTIFICATION_ERROR_NOT_READY;
    }
    FakeNotifications::instance().recordPost(noti->popup, callback, user_data);
    return NOTIFICATION_ERROR_NONE;
}

int notification_free(notification_h noti) {
    delete noti;
    return NOTIFICATION_ERROR_NONE;
}

}  // extern "C"
