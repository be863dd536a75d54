// One-shot work scheduled on the GLib default main context, cancellable from any thread.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <set>

typedef struct _GSource GSource;

namespace ipc_platform {

// A set of pending one-shot sources on the default main context. Thread-safe: add and cancel
// from any thread; the work always runs on the main loop, never inside add(). Work that has
// started running is not stopped by a cancel; it must guard against its owner being gone
// (capture a weak reference). Destruction cancels everything still pending.
class MainLoopTimers {
public:
    using Id = GSource*;

    MainLoopTimers();
    ~MainLoopTimers();
    MainLoopTimers(const MainLoopTimers&) = delete;
    MainLoopTimers& operator=(const MainLoopTimers&) = delete;

    // Runs work once after delayMs milliseconds (0: as soon as the main loop is idle).
    Id add(unsigned int delayMs, std::function<void()> work);
    // False when the work already ran, is running, or was cancelled before.
    bool cancel(Id id);
    void cancelAll();

private:
    struct Shared {
        std::mutex mutex;            // protects pending
        std::set<GSource*> pending;  // attached, not yet started; each holds one reference
    };
    struct Entry;
    static int _dispatch(void* entry);

    std::shared_ptr<Shared> m_shared;
};

}  // namespace ipc_platform
