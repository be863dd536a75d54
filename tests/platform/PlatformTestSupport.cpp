// Helpers of the platform tests.
#include "PlatformTestSupport.h"

#include <cstdio>
#include <cstdlib>

namespace platform_test {

std::string takeString(char* text) {
    std::string result = text != nullptr ? text : "<null>";
    free(text);
    return result;
}

void writeByRename(const std::string& path, const std::string& contents) {
    const std::string temporary = path + ".new";
    writeFile(temporary, contents);
    ASSERT_EQ(0, std::rename(temporary.c_str(), path.c_str()));
}

void PopupEvents::record(notification_h /*noti*/, int event, void* self) {
    auto* events = static_cast<PopupEvents*>(self);
    std::lock_guard<std::mutex> lock(events->m_mutex);
    events->m_events.push_back(event);
    events->m_threads.push_back(std::this_thread::get_id());
}

std::vector<int> PopupEvents::events() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_events;
}

bool PopupEvents::allOnCreatingThread() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    for (std::thread::id thread : m_threads) {
        if (thread != m_creator) {
            return false;
        }
    }
    return true;
}

int postPopup(PopupEvents& events, const std::string& title, int hideSeconds) {
    notification_h noti = notification_create(NOTIFICATION_TYPE_NOTI);
    if (noti == nullptr) {
        return NOTIFICATION_ERROR_OUT_OF_MEMORY;
    }
    notification_set_text(noti, NOTIFICATION_TEXT_TYPE_TITLE, title.c_str(), "TITLE");
    notification_set_text(noti, NOTIFICATION_TEXT_TYPE_CONTENT, "A device wants to connect.",
                          "CONTENT");
    const struct {
        notification_button_index_e index;
        notification_text_type_e text;
        const char* label;
    } kButtons[] = {{NOTIFICATION_BUTTON_1, NOTIFICATION_TEXT_TYPE_BUTTON_1, "Allow"},
                    {NOTIFICATION_BUTTON_2, NOTIFICATION_TEXT_TYPE_BUTTON_2, "Deny"},
                    {NOTIFICATION_BUTTON_3, NOTIFICATION_TEXT_TYPE_BUTTON_3, "Close"}};
    for (const auto& button : kButtons) {
        notification_add_button(noti, button.index);
        notification_set_text(noti, button.text, button.label, nullptr);
    }
    notification_set_display_applist(noti, NOTIFICATION_DISPLAY_APP_ACTIVE);
    notification_zt_set_hide_timeout(noti, hideSeconds);
    notification_set_layout(noti, NOTIFICATION_LAYOUT_POPUP_BUTTONS);
    notification_set_tag(noti, "1700000000");
    const int result = notification_zt_post_with_event_cb(noti, &PopupEvents::record, &events);
    notification_free(noti);
    return result;
}

void PlatformTest::TearDown() {
    ipc_platform::shutdown();
    drainMainLoop();
}

std::string PlatformTest::startError(const std::string& profile) {
    m_options.dataDir = m_dataDir.path();
    m_options.resourceDir = IPC_TEST_RESOURCE_DIR;
    m_options.profile = profile;
    std::string error;
    return ipc_platform::initialize(m_options, error) ? std::string() : error;
}

void PlatformTest::start(const std::string& profile) {
    const std::string error = startError(profile);
    ASSERT_EQ("", error);
}

void PlatformTest::restart() {
    ipc_platform::shutdown();
    std::string error;
    ASSERT_TRUE(ipc_platform::initialize(m_options, error)) << error;
}

}  // namespace platform_test
