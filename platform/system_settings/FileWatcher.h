// Watches one file and reports each time a new version of it is complete: written in place and
// closed, or created or renamed into place. Main-loop only: started and stopped on the thread
// that runs the GLib default main context, where the handler also runs.
//
// The kernel watch is on the file's folder (so that a replace by rename is seen), but GIO reads
// it on its own worker thread and drops events for other names there: writes to other files in
// the folder never wake the main loop.
#pragma once

#include <functional>
#include <string>

typedef struct _GFileMonitor GFileMonitor;

namespace ipc_platform {

class FileWatcher {
public:
    using Handler = std::function<void()>;

    FileWatcher() = default;
    ~FileWatcher() { stop(); }
    FileWatcher(const FileWatcher&) = delete;
    FileWatcher& operator=(const FileWatcher&) = delete;

    // On failure returns false with error naming the file.
    bool start(const std::string& path, Handler handler, std::string& error);
    void stop();

private:
    GFileMonitor* m_monitor = nullptr;
    Handler m_handler;  // the monitor's signal handler holds its address
};

}  // namespace ipc_platform
