// Notification C interface: builds the pop-up's content and posts it to the notification center.
#include "notification.h"

#include <climits>
#include <new>
#include <string>

#include <glib.h>

#include "NotificationCenter.h"
#include "NotificationContent.h"
#include "PlatformObjects.h"

struct notification_s {
    ipc_platform::NotificationContent content;
};

namespace {

// Copies text into out; NULL clears it. False for text that is not UTF-8.
bool copyText(const char* text, std::string& out) {
    if (text != nullptr && !g_utf8_validate(text, -1, nullptr)) {
        return false;
    }
    out = text != nullptr ? text : "";
    return true;
}

std::string* textSlot(ipc_platform::NotificationContent& content, notification_text_type_e type,
                      std::string** keySlot) {
    *keySlot = nullptr;
    switch (type) {
        case NOTIFICATION_TEXT_TYPE_TITLE:
            *keySlot = &content.titleKey;
            return &content.title;
        case NOTIFICATION_TEXT_TYPE_CONTENT:
            *keySlot = &content.contentKey;
            return &content.content;
        case NOTIFICATION_TEXT_TYPE_BUTTON_1:
        case NOTIFICATION_TEXT_TYPE_BUTTON_2:
        case NOTIFICATION_TEXT_TYPE_BUTTON_3:
            return &content.buttons[type - NOTIFICATION_TEXT_TYPE_BUTTON_1].label;
    }
    return nullptr;
}

}  // namespace

extern "C" {

notification_h notification_create(notification_type_e type) {
    if (type != NOTIFICATION_TYPE_NOTI) {
        return nullptr;
    }
    return new (std::nothrow) notification_s;
}

int notification_set_text(notification_h noti, notification_text_type_e type, const char* text,
                          const char* key) {
    if (noti == nullptr) {
        return NOTIFICATION_ERROR_INVALID_PARAMETER;
    }
    std::string* keySlot = nullptr;
    std::string* slot = textSlot(noti->content, type, &keySlot);
    std::string value;
    std::string keyValue;
    if (slot == nullptr || !copyText(text, value) || !copyText(key, keyValue)) {
        return NOTIFICATION_ERROR_INVALID_PARAMETER;
    }
    *slot = std::move(value);
    if (keySlot != nullptr) {
        *keySlot = std::move(keyValue);
    }
    return NOTIFICATION_ERROR_NONE;
}

int notification_add_button(notification_h noti, notification_button_index_e index) {
    if (noti == nullptr || index < NOTIFICATION_BUTTON_1 || index > NOTIFICATION_BUTTON_3) {
        return NOTIFICATION_ERROR_INVALID_PARAMETER;
    }
    noti->content.buttons[index - NOTIFICATION_BUTTON_1].added = true;
    return NOTIFICATION_ERROR_NONE;
}

int notification_set_display_applist(notification_h noti, int applist) {
    if (noti == nullptr || applist < 0) {
        return NOTIFICATION_ERROR_INVALID_PARAMETER;
    }
    noti->content.displayList = applist;
    return NOTIFICATION_ERROR_NONE;
}

int notification_zt_set_hide_timeout(notification_h noti, int seconds) {
    if (noti == nullptr || seconds < 0 || seconds > INT_MAX / 1000) {
        return NOTIFICATION_ERROR_INVALID_PARAMETER;
    }
    noti->content.hideTimeoutMs = static_cast<unsigned int>(seconds) * 1000;
    return NOTIFICATION_ERROR_NONE;
}

int notification_set_layout(notification_h noti, int layout) {
    if (noti == nullptr) {
        return NOTIFICATION_ERROR_INVALID_PARAMETER;
    }
    noti->content.layout = layout;
    return NOTIFICATION_ERROR_NONE;
}

int notification_set_tag(notification_h noti, const char* tag) {
    if (noti == nullptr || tag == nullptr || !copyText(tag, noti->content.tag)) {
        return NOTIFICATION_ERROR_INVALID_PARAMETER;
    }
    return NOTIFICATION_ERROR_NONE;
}

int notification_zt_post_with_event_cb(notification_h noti, notification_event_cb callback,
                                       void* user_data) {
    if (noti == nullptr) {
        return NOTIFICATION_ERROR_INVALID_PARAMETER;
    }
    const auto objects = ipc_platform::currentObjects();
    if (objects == nullptr) {
        return NOTIFICATION_ERROR_NOT_READY;
    }
    ipc_platform::NotificationCenter::EventCallback onEvent;
    if (callback != nullptr) {
        onEvent = [callback, user_data](int event,
                                        const ipc_platform::NotificationContent& content) {
            notification_s posted{content};  // lives for the call, as the interface says
            callback(&posted, event, user_data);
        };
    }
    return objects->notifications->post(noti->content, std::move(onEvent)) != 0
               ? NOTIFICATION_ERROR_NONE
               : NOTIFICATION_ERROR_NOT_READY;
}

int notification_free(notification_h noti) {
    if (noti == nullptr) {
        return NOTIFICATION_ERROR_INVALID_PARAMETER;
    }
    delete noti;
    return NOTIFICATION_ERROR_NONE;
}

}  // extern "C"
