// The message box hook: the approval pop-up is the only text the service puts on screen.
#include "Manager/UIManager.h"

UIManager::~UIManager() = default;

bool UIManager::create() {
    return true;
}

bool UIManager::destroy() {
    return true;
}

void UIManager::showMsgBox(std::string /*text*/) {}
