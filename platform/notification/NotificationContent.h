// What one pop-up shows: texts, buttons and display options, as set through the C interface.
#pragma once

#include <array>
#include <string>

namespace ipc_platform {

// A value type; copies are independent. Used by one thread at a time (its holder's).
struct NotificationContent {
    struct Button {
        bool added = false;  // shown on screen
        std::string label;   // may be set before or after the button is added
    };

    std::string title;
    std::string titleKey;  // the texts' keys, kept for logs and the admin API
    std::string content;
    std::string contentKey;
    std::array<Button, 3> buttons;  // buttons 1 to 3; pressing button n sends event n - 1
    int displayList = 0;
    int layout = 0;
    std::string tag;
    unsigned int hideTimeoutMs = 0;  // 0: the pop-up never hides itself

    bool hasButton(int number) const {
        return number >= 1 && number <= 3 && buttons[number - 1].added;
    }
};

}  // namespace ipc_platform
