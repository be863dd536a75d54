// A function object that one manager calls and the controller installs and removes.
#pragma once

#include <functional>
#include <mutex>
#include <utility>

template <typename Signature>
class Hook;

// The outward call of a manager, filled by the controller on the main loop and called from the
// server, worker or framework threads. Thread-safe: a call works on a copy of the function taken
// under the lock, so installing or removing the hook never races a call in progress, and the
// function itself runs without the lock (it may call back into its manager). Calling an empty
// hook raises std::bad_function_call.
template <typename R, typename... Args>
class Hook<R(Args...)> {
public:
    using Function = std::function<R(Args...)>;

    void set(Function function) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_function = std::move(function);
    }
    void reset() { set(nullptr); }
    Function get() const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_function;
    }
    bool isSet() const { return static_cast<bool>(get()); }
    R operator()(Args... args) const { return get()(std::forward<Args>(args)...); }

private:
    mutable std::mutex m_mutex;  // protects m_function
    Function m_function;
};
