// On-screen message box hook of the service. The TV shows nothing through it in this build.
// Main-loop or worker thread; holds no state.
#pragma once

#include <string>

class UIManager {
public:
    virtual ~UIManager();
    virtual bool create();
    virtual bool destroy();
    void showMsgBox(std::string text);
};
