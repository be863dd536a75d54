// Notifications: the TV's on-screen pop-up with a title, a content text and up to three
// buttons. One pop-up is shown at a time in the active pop-up area: posting a new one replaces
// the one on screen, which disappears without an event. Each posted pop-up produces at most one
// event, delivered on the GLib main loop (the default main context) and never inside the call
// that posted it: a button, a dismissal, or its hide timeout. After its event the pop-up is gone.
// Thread-safe: a handle is used by one thread at a time; posting may come from any thread.
// Texts and tags must be UTF-8 (else INVALID_PARAMETER); a NULL text clears the text.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef struct notification_s* notification_h;

typedef enum {
    NOTIFICATION_TYPE_NOTI = 0,  // the plain kind: a pop-up with texts and buttons
} notification_type_e;

typedef enum {
    NOTIFICATION_TEXT_TYPE_TITLE = 0,
    NOTIFICATION_TEXT_TYPE_CONTENT = 1,
    NOTIFICATION_TEXT_TYPE_BUTTON_1 = 13,
    NOTIFICATION_TEXT_TYPE_BUTTON_2 = 14,
    NOTIFICATION_TEXT_TYPE_BUTTON_3 = 15,
} notification_text_type_e;

typedef enum {
    NOTIFICATION_BUTTON_1 = 1,
    NOTIFICATION_BUTTON_2 = 2,
    NOTIFICATION_BUTTON_3 = 3,
} notification_button_index_e;

// Display list: where the notification appears.
#define NOTIFICATION_DISPLAY_APP_ACTIVE 16  // the active pop-up area only

// Layout of the pop-up.
#define NOTIFICATION_LAYOUT_POPUP_BUTTONS 1

// Events delivered to the callback given at posting.
typedef enum {
    NOTIFICATION_EVENT_BUTTON_1 = 0,
    NOTIFICATION_EVENT_BUTTON_2 = 1,
    NOTIFICATION_EVENT_BUTTON_3 = 2,
    NOTIFICATION_EVENT_HIDDEN_BY_USER = 100,      // dismissed without a button
    NOTIFICATION_EVENT_HIDDEN_BY_TIMEOUT = 101,   // the hide timeout expired
    NOTIFICATION_EVENT_HIDDEN_BY_EXTERNAL = 102,  // taken down by another party
} notification_event_e;

typedef enum {
    NOTIFICATION_ERROR_NONE = 0,
    NOTIFICATION_ERROR_INVALID_PARAMETER = -22,
    NOTIFICATION_ERROR_OUT_OF_MEMORY = -12,
    NOTIFICATION_ERROR_NOT_READY = -11,  // the platform is not initialised
} notification_error_e;

// noti is valid only during the call; it describes the posted pop-up.
typedef void (*notification_event_cb)(notification_h noti, int event_type, void* user_data);

// NULL when the notification cannot be made.
notification_h notification_create(notification_type_e type);
// key names the text (for example "TITLE"); it may be NULL.
int notification_set_text(notification_h noti, notification_text_type_e type, const char* text,
                          const char* key);
int notification_add_button(notification_h noti, notification_button_index_e index);
int notification_set_display_applist(notification_h noti, int applist);
// Seconds until the pop-up hides itself with NOTIFICATION_EVENT_HIDDEN_BY_TIMEOUT; 0 = never.
int notification_zt_set_hide_timeout(notification_h noti, int seconds);
int notification_set_layout(notification_h noti, int layout);
int notification_set_tag(notification_h noti, const char* tag);
// Puts a copy of the notification on screen; callback (may be NULL) receives its one event on
// the main loop. The handle stays the caller's and may be freed at once. NOT_READY before the
// platform is initialised or after it shut down.
int notification_zt_post_with_event_cb(notification_h noti, notification_event_cb callback,
                                       void* user_data);
int notification_free(notification_h noti);

#ifdef __cplusplus
}
#endif
