// The message box hook: the approval pop-up is the only text the service puts on screen.
#include "Manager/UIManager.h"

UIManager::~UIManager() = default;

bool UIManager::create() {
    return true;
}

bool UIManager::destroy() {
    return true;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy
void UIManager::showMsgBox(std::string /*text*/) {}
