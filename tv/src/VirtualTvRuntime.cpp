// The virtual TV of the process: started on the platform, reached by the framework's functions.
#include "VirtualTvRuntime.h"

#include <mutex>

#include <glib.h>

#include "AdminServer.h"
#include "CurrentTv.h"
#include "PlatformRuntime.h"
#include "ProductProfile.h"
#include "TvAdminApi.h"
#include "VirtualTv.h"
#include "vconf.h"

namespace ipc_tv {

namespace {

constexpr char kStateFileName[] = "tv-state.json";
// The plug-in's flags, shown in the "tv" section (test wall mode).
constexpr char kConfigFlagsKey[] = "db/private/ipcontrol/config_flags";

// Protects g_tv.
std::mutex g_tvMutex;
std::shared_ptr<VirtualTv> g_tv;

std::string statePath() {
    g_autofree gchar* path =
        g_build_filename(ipc_platform::options().dataDir.c_str(), kStateFileName, nullptr);
    return path;
}

void publishAdminState() {
    if (const auto admin = ipc_platform::adminServer()) {
        admin->publishState();
    }
}

void onConfigFlagsChanged(const char* /*key*/, void* /*userData*/) {
    publishAdminState();
}

// The admin server shows the TV and follows its changes and those of the plug-in's flags.
void connectAdmin(VirtualTv& tv) {
    const std::shared_ptr<ipc_platform::AdminServer> admin = ipc_platform::adminServer();
    if (admin == nullptr) {
        return;
    }
    addTvAdminApi(*admin);
    vconf_notify_key_changed(kConfigFlagsKey, onConfigFlagsChanged, nullptr);
    const std::weak_ptr<ipc_platform::AdminServer> weak = admin;
    tv.setChangeListener([weak] {
        if (const auto server = weak.lock()) {
            server->publishState();
        }
    });
    admin->publishState();
}

// The TV's configuration from a loaded profile; false with error naming the profile's file.
bool readConfig(const ipc_platform::ProductProfile& profile, const ipc_platform::Options& options,
                const PropertySchema& schema, TvConfig& config, std::string& error) {
    if (config.parse(profile.tvSection(), schema, error)) {
        return true;
    }
    error = ipc_platform::resolveProfilePath(options.profile, options.resourceDir) + ": " + error;
    return false;
}

}  // namespace

bool checkProfile(const ipc_platform::Options& options, std::string& error) {
    ipc_platform::ProductProfile profile;
    std::string loadError;
    if (!profile.load(ipc_platform::resolveProfilePath(options.profile, options.resourceDir),
                      loadError)) {
        return true;
    }
    TvConfig config;
    return readConfig(profile, options, PropertySchema::builtIn(), config, error);
}

std::shared_ptr<VirtualTv> currentTv() {
    std::lock_guard<std::mutex> lock(g_tvMutex);
    return g_tv;
}

bool start(std::string& error) {
    const PropertySchema& schema = PropertySchema::builtIn();
    const std::shared_ptr<const ipc_platform::ProductProfile> profile =
        ipc_platform::productProfile();
    if (profile == nullptr) {
        error = "the virtual TV needs the platform to be initialised";
        return false;
    }
    if (currentTv() != nullptr) {
        error = "the virtual TV already runs";
        return false;
    }
    TvConfig config;
    if (!readConfig(*profile, ipc_platform::options(), schema, config, error)) {
        return false;
    }
    auto tv = std::make_shared<VirtualTv>(schema, std::move(config), statePath());
    tv->start();
    {
        std::lock_guard<std::mutex> lock(g_tvMutex);
        g_tv = tv;
    }
    // Once it is current, so that the first state sent shows it.
    connectAdmin(*tv);
    return true;
}

void stop() {
    std::shared_ptr<VirtualTv> tv;
    {
        std::lock_guard<std::mutex> lock(g_tvMutex);
        tv.swap(g_tv);
    }
    if (tv != nullptr) {
        tv->stop();
        vconf_ignore_key_changed(kConfigFlagsKey, onConfigFlagsChanged);
        publishAdminState();
    }
}

}  // namespace ipc_tv
