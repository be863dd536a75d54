// One-shot sources on the default main context with a cancellable registry.
#include "MainLoopTimers.h"

#include <glib.h>

namespace ipc_platform {

// The callback data of one source: the registry outlives the timers object while a source runs.
struct MainLoopTimers::Entry {
    std::shared_ptr<Shared> shared;
    std::function<void()> work;
    GSource* source = nullptr;
};

MainLoopTimers::MainLoopTimers() : m_shared(std::make_shared<Shared>()) {}

MainLoopTimers::~MainLoopTimers() {
    cancelAll();
}

MainLoopTimers::Id MainLoopTimers::add(unsigned int delayMs, std::function<void()> work) {
    GSource* source = delayMs == 0 ? g_idle_source_new() : g_timeout_source_new(delayMs);
    auto* entry = new Entry{m_shared, std::move(work), source};
    g_source_set_callback(source, &MainLoopTimers::_dispatch, entry,
                          [](gpointer data) { delete static_cast<Entry*>(data); });
    {
        // Registered before it is attached, so that the dispatch always finds it.
        std::lock_guard<std::mutex> lock(m_shared->mutex);
        m_shared->pending.insert(source);
    }
    g_source_attach(source, g_main_context_default());
    return source;
}

int MainLoopTimers::_dispatch(void* data) {
    auto* entry = static_cast<Entry*>(data);
    {
        std::lock_guard<std::mutex> lock(entry->shared->mutex);
        if (entry->shared->pending.erase(entry->source) == 0) {
            return G_SOURCE_REMOVE;  // cancelled while the main loop was about to run it
        }
    }
    g_source_unref(entry->source);  // the context still holds its own reference
    entry->work();
    return G_SOURCE_REMOVE;
}

bool MainLoopTimers::cancel(Id id) {
    {
        std::lock_guard<std::mutex> lock(m_shared->mutex);
        if (m_shared->pending.erase(id) == 0) {
            return false;
        }
    }
    g_source_destroy(id);
    g_source_unref(id);
    return true;
}

void MainLoopTimers::cancelAll() {
    std::set<GSource*> pending;
    {
        std::lock_guard<std::mutex> lock(m_shared->mutex);
        pending.swap(m_shared->pending);
    }
    for (GSource* source : pending) {
        g_source_destroy(source);
        g_source_unref(source);
    }
}

}  // namespace ipc_platform
