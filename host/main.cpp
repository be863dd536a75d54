// ipcontrold: brings the Linux platform and the virtual TV up, loads the IP-control plug-in and
// runs the main loop until SIGINT or SIGTERM.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <glib-unix.h>
#include <glib.h>

#include "HostOptions.h"
#include "PlatformRuntime.h"
#include "PluginLoader.h"
#include "ServiceNotifier.h"
#include "VirtualTvRuntime.h"

namespace {

constexpr int kExitUsage = 2;    // bad option, profile, settings file or data directory
constexpr int kExitInstall = 1;  // the plug-in is missing or broken
constexpr int kExitFailure = 1;  // the service cannot run here: a port it needs is taken

const char* const kTag = "IPCONTROLD";

gboolean onStopSignal(gpointer loop) {
    dlog_print(DLOG_INFO, kTag, "stop signal received, shutting down");
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
    return G_SOURCE_REMOVE;
}

// What was there before the log's crash handler: the default, or a sanitizer's report.
struct sigaction g_previousActions[NSIG];
constexpr int kFatalSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
constexpr int kCrashFlushMs = 1000;

// The lines leading up to a crash are the ones wanted most: give the log's thread a moment to
// write them, then let the previous handler have the signal.
void onFatalSignal(int signo, siginfo_t* info, void* /*context*/) {
    dlog_flush_in_crash(kCrashFlushMs);
    sigaction(signo, &g_previousActions[signo], nullptr);
    if (info == nullptr || info->si_code <= 0) {
        raise(signo);  // sent (abort, kill): delivered again once this handler returns
    }
    // A fault happens again when the faulting instruction runs again, now to the old handler.
}

void flushLogOnCrash() {
    struct sigaction action {};
    action.sa_sigaction = onFatalSignal;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    for (int signo : kFatalSignals) {
        sigaction(signo, &action, &g_previousActions[signo]);
    }
}

int fail(int code, const std::string& message) {
    // The reason comes after whatever the log has queued, and is printed at any log level.
    dlog_flush();
    fprintf(stderr, "ipcontrold: %s\n", message.c_str());
    return code;
}

// Installed, the service's libraries sit in their own folder lib/ipcontrol; in the build tree
// they are in lib.
std::string pluginPath() {
    std::string installed = hostExecutableDir() + "/../lib/ipcontrol/libipcontrol-plugin.so";
    if (g_file_test(installed.c_str(), G_FILE_TEST_EXISTS)) {
        return installed;
    }
    return hostExecutableDir() + "/../lib/libipcontrol-plugin.so";
}

}  // namespace

int main(int argc, char** argv) {
    HostOptions options;
    std::string message;
    switch (parseHostOptions(argc, argv, options, message)) {
        case ParseResult::Error:
            return fail(kExitUsage, message);
        case ParseResult::Exit:
            if (options.showVersion) {
                printf("ipcontrold %s\n", IPC_VERSION);
            }
            return 0;
        case ParseResult::Run:
            break;
    }
    dlog_set_min_priority(options.logLevel);
    dlog_route_glib_messages();
    flushLogOnCrash();
    signal(SIGPIPE, SIG_IGN);
    // The service speaks HTTP only to its own network (UPnP event subscribers); a proxy from
    // the environment (http_proxy) could not reach them. Set while no other thread runs.
    g_setenv("GIO_USE_PROXY_RESOLVER", "dummy", TRUE);

    const std::string& dataDir = options.platform.dataDir;
    if (g_mkdir_with_parents(dataDir.c_str(), 0700) != 0) {
        return fail(kExitUsage, "cannot create data directory " + dataDir + ": " + strerror(errno));
    }
    // The TV's part of the profile is checked first: a refusal is then the only line printed.
    if (!ipc_tv::checkProfile(options.platform, message) ||
        !ipc_platform::initialize(options.platform, message)) {
        return fail(ipc_platform::fatalError().empty() ? kExitUsage : kExitFailure, message);
    }
    if (!ipc_tv::start(message)) {
        ipc_platform::shutdown();
        return fail(kExitUsage, message);
    }

    PluginLoader plugin;
    if (!plugin.load(pluginPath(), message)) {
        ipc_tv::stop();
        ipc_platform::shutdown();
        return fail(kExitInstall, message);
    }

    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    g_unix_signal_add(SIGINT, onStopSignal, loop);
    g_unix_signal_add(SIGTERM, onStopSignal, loop);

    dlog_print(DLOG_INFO, kTag, "ipcontrold %s: profile %s, data in %s", IPC_VERSION,
               options.platform.profile.c_str(), dataDir.c_str());
    // The plug-in starts the service inside create(): the JSON-RPC server listens once it returns
    // (unless IP remote control is switched off in the settings).
    plugin.create();
    // A port the service needs is taken: it has said so in the log, and a service manager must
    // not think it ready.
    int exitCode = ipc_platform::fatalError().empty() ? 0 : kExitFailure;
    if (exitCode == 0) {
        ServiceNotifier::notify("READY=1\nSTATUS=TV running, data in " + dataDir);
        // The same when the service is switched on later and cannot listen.
        ipc_platform::setFatalErrorHandler([loop, &exitCode] {
            exitCode = kExitFailure;
            g_main_loop_quit(loop);
        });
        g_main_loop_run(loop);
        ipc_platform::setFatalErrorHandler(nullptr);
        ServiceNotifier::notify("STOPPING=1");
    }
    plugin.destroy();
    plugin.unload();
    g_main_loop_unref(loop);
    ipc_tv::stop();
    ipc_platform::shutdown();
    dlog_print(DLOG_INFO, kTag, "%s",
               exitCode == 0 ? "stopped" : "stopped: the service cannot run");
    return exitCode;
}
