// The in- and out-arguments of one SOAP action.
#include "ActionArguments.h"

namespace ip_control {

bool ActionInArguments::getArgument(const std::string& name, std::string& value) const {
    for (const Argument& item : m_items) {
        if (item.first == name) {
            value = item.second;
            return true;
        }
    }
    return false;
}

bool ActionInArguments::getArgument(size_t index, std::string& name, std::string& value) const {
    if (index >= m_items.size())
        return false;
    name = m_items[index].first;
    value = m_items[index].second;
    return true;
}

bool ActionInArguments::getNext(std::string& name, std::string& value) {
    if (!getArgument(m_next, name, value))
        return false;
    ++m_next;
    return true;
}

}  // namespace ip_control
