// A service description document ("scpd"): its action names, new actions and state variables.
#include "UpnpDescriptionService.h"

#include <libxml/tree.h>

namespace ip_control {

bool UpnpDescriptionService::parseServiceFile(const std::string& path) {
    clear();
    if (!parseFile(path, "scpd"))
        return false;
    m_actionList = findChild(rootElement(), "actionList");
    m_serviceStateTable = findChild(rootElement(), "serviceStateTable");
    return true;
}

bool UpnpDescriptionService::getActions(std::vector<std::string>& actions) const {
    actions.clear();
    // A service without actions (no actionList) is valid: its list is empty.
    if (m_actionList == nullptr)
        return isLoaded();
    for (xmlNode* node = m_actionList->children; node != nullptr; node = node->next) {
        std::string name;
        if (node->type == XML_ELEMENT_NODE && xmlStrEqual(node->name, BAD_CAST "action") &&
            getElement(node, "name", name)) {
            actions.push_back(name);
        }
    }
    return true;
}

bool UpnpDescriptionService::addAction(const std::string& xml) {
    return addFromXmlString(m_actionList, "action", xml);
}

bool UpnpDescriptionService::addServiceVariable(const std::string& xml) {
    return addFromXmlString(m_serviceStateTable, "stateVariable", xml);
}

void UpnpDescriptionService::clear() {
    m_actionList = nullptr;
    m_serviceStateTable = nullptr;
    UpnpDescriptionFile::clear();
}

}  // namespace ip_control
