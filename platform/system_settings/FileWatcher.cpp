// Watches one file with a GIO file monitor bound to the default main context.
#include "FileWatcher.h"

#include <gio/gio.h>

namespace ipc_platform {

namespace {

void onMonitorEvent(GFileMonitor*, GFile*, GFile*, GFileMonitorEvent event, gpointer handler) {
    switch (event) {
        // Partial writes only raise CHANGED; the finished file shows up as one of these.
        case G_FILE_MONITOR_EVENT_CHANGES_DONE_HINT:
        case G_FILE_MONITOR_EVENT_CREATED:
        case G_FILE_MONITOR_EVENT_MOVED_IN:
        case G_FILE_MONITOR_EVENT_RENAMED:
            (*static_cast<FileWatcher::Handler*>(handler))();
            break;
        default:
            break;
    }
}

}  // namespace

bool FileWatcher::start(const std::string& path, Handler handler, std::string& error) {
    stop();
    // A monitor delivers its events on the thread-default context of the thread that creates it;
    // make sure that is the default context, whatever the caller has pushed.
    const bool pushDefault = g_main_context_get_thread_default() != nullptr;
    if (pushDefault) {
        g_main_context_push_thread_default(g_main_context_default());
    }
    GFile* file = g_file_new_for_path(path.c_str());
    GError* gerror = nullptr;
    m_monitor = g_file_monitor_file(file, G_FILE_MONITOR_WATCH_MOVES, nullptr, &gerror);
    g_object_unref(file);
    if (pushDefault) {
        g_main_context_pop_thread_default(g_main_context_default());
    }
    if (m_monitor == nullptr) {
        error = path + ": cannot watch the file: " + gerror->message;
        g_error_free(gerror);
        return false;
    }
    m_handler = std::move(handler);
    g_signal_connect(m_monitor, "changed", G_CALLBACK(onMonitorEvent), &m_handler);
    return true;
}

void FileWatcher::stop() {
    if (m_monitor == nullptr) {
        return;
    }
    g_signal_handlers_disconnect_by_data(m_monitor, &m_handler);
    g_file_monitor_cancel(m_monitor);
    g_object_unref(m_monitor);
    m_monitor = nullptr;
    m_handler = nullptr;
}

}  // namespace ipc_platform
