// A service description document ("scpd"): its action names, new actions and state variables.
#pragma once

#include <string>
#include <vector>

#include "UpnpDescriptionFile.h"

namespace ip_control {

// Editor of one service description. One thread at a time.
class UpnpDescriptionService : public UpnpDescriptionFile {
public:
    bool parseServiceFile(const std::string& path);
    // The name of every action under actionList, in document order.
    bool getActions(std::vector<std::string>& actions) const;
    bool addAction(const std::string& xml);
    bool addServiceVariable(const std::string& xml);
    void clear() override;

private:
    _xmlNode* m_actionList = nullptr;
    _xmlNode* m_serviceStateTable = nullptr;
};

}  // namespace ip_control
