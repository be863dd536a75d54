// The in- and out-arguments of one SOAP action, as ordered (name, value) string pairs.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace ip_control {

// Ordered (name, value) pairs. One thread at a time.
class ActionArguments {
public:
    using Argument = std::pair<std::string, std::string>;

    void add(const std::string& name, const std::string& value) {
        m_items.emplace_back(name, value);
    }
    const std::vector<Argument>& items() const { return m_items; }
    size_t size() const { return m_items.size(); }

protected:
    std::vector<Argument> m_items;
};

// Arguments sent by the control point. One thread at a time (getNext keeps a cursor).
class ActionInArguments : public ActionArguments {
public:
    // The value of the first argument named name.
    bool getArgument(const std::string& name, std::string& value) const;
    bool getArgument(size_t index, std::string& name, std::string& value) const;
    // The argument after the one returned last (the first one on the first call).
    bool getNext(std::string& name, std::string& value);

private:
    size_t m_next = 0;
};

// Arguments of the response, in the order they are sent.
class ActionOutArguments : public ActionArguments {};

}  // namespace ip_control
