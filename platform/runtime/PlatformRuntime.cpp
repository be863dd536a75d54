// Brings the platform up and down: profile, settings file, key-value store, file monitor,
// notifications and the admin server.
#include "PlatformRuntime.h"

#include <mutex>

#include <glib.h>

#include "AdminServer.h"
#include "ApprovalBackend.h"
#include "KeyValueStore.h"
#include "LogAdminApi.h"
#include "NotificationCenter.h"
#include "PlatformAdminApi.h"
#include "PlatformLog.h"
#include "PlatformObjects.h"
#include "ProductProfile.h"
#include "SettingsSchema.h"
#include "SettingsStore.h"
#include "dlog.h"

namespace ipc_platform {

namespace {

constexpr char kDefaultProfile[] = "tv-2023";
constexpr char kSettingsFileName[] = "settings.ini";
constexpr char kKeyValueFileName[] = "vconf.json";

// Protects g_objects.
std::mutex g_objectsMutex;
std::shared_ptr<const PlatformObjects> g_objects;

// The options of the current initialisation; written by initialize/shutdown only (main loop).
Options g_options;

// The first fatal error and who hears of one; main loop only.
std::string g_fatalError;
std::function<void()> g_fatalErrorHandler;

std::string fileInDir(const std::string& dir, const char* name) {
    gchar* path = g_build_filename(dir.c_str(), name, nullptr);
    std::string result = path;
    g_free(path);
    return result;
}

// Serves the TV screen and the admin API when the options ask for it, and makes every change of
// the settings or the pop-up reach the page.
bool startAdminServer(PlatformObjects& objects, std::string& error) {
    if (!objects.options.adminServer) {
        return true;
    }
    auto admin = std::make_shared<AdminServer>(fileInDir(objects.options.resourceDir, "web"));
    addPlatformAdminApi(*admin, objects.notifications);
    addLogAdminApi(*admin);
    if (!admin->start(objects.options.adminPort, error)) {
        return false;
    }
    const std::weak_ptr<AdminServer> weak = admin;
    auto publish = [weak] {
        if (auto server = weak.lock()) {
            server->publishState();
        }
    };
    objects.settings->setChangeObserver(publish);
    objects.notifications->setListener(publish);
    objects.admin = std::move(admin);
    return true;
}

// Loads everything in order; null with error set when one step fails.
std::shared_ptr<PlatformObjects> loadObjects(const Options& options, std::string& error) {
    if (options.dataDir.empty()) {
        error = "no data directory given";
        return nullptr;
    }
    auto objects = std::make_shared<PlatformObjects>();
    objects->options = options;

    auto profile = std::make_shared<ProductProfile>();
    if (!profile->load(resolveProfilePath(options.profile, options.resourceDir), error)) {
        return nullptr;
    }
    objects->profile = profile;

    objects->settings = std::make_shared<SettingsStore>(
        fileInDir(options.dataDir, kSettingsFileName), firstStartSettings(profile->deviceName()));
    if (!objects->settings->load(error)) {
        return nullptr;
    }

    objects->keyValues = std::make_shared<KeyValueStore>();
    if (!objects->keyValues->load(fileInDir(options.dataDir, kKeyValueFileName), error)) {
        return nullptr;
    }

    std::unique_ptr<ApprovalBackend> approval = ApprovalBackend::create(options.approval, error);
    if (approval == nullptr) {
        return nullptr;
    }
    objects->notifications = std::make_shared<NotificationCenter>(std::move(approval));

    if (!objects->settings->startWatching(error) || !startAdminServer(*objects, error)) {
        objects->settings->stop();
        return nullptr;
    }
    return objects;
}

}  // namespace

std::shared_ptr<const PlatformObjects> currentObjects() {
    std::lock_guard<std::mutex> lock(g_objectsMutex);
    return g_objects;
}

bool initialize(const Options& options, std::string& error) {
    if (isInitialized()) {
        error = "the platform is already initialised";
        return false;
    }
    g_fatalError.clear();  // a new start, for processes that start more than once
    // The caller reports the error; it is not logged twice.
    std::shared_ptr<PlatformObjects> objects = loadObjects(options, error);
    if (objects == nullptr) {
        return false;
    }
    dlog_print(DLOG_INFO, kLogTag, "platform ready: profile %s, data in %s",
               resolveProfilePath(options.profile, options.resourceDir).c_str(),
               options.dataDir.c_str());
    if (objects->admin != nullptr) {
        dlog_print(DLOG_INFO, kLogTag, "TV screen and admin API on http://127.0.0.1:%u/",
                   static_cast<unsigned int>(objects->admin->port()));
    }
    g_options = options;
    std::lock_guard<std::mutex> lock(g_objectsMutex);
    g_objects = std::move(objects);
    return true;
}

void shutdown() {
    std::shared_ptr<const PlatformObjects> objects;
    {
        std::lock_guard<std::mutex> lock(g_objectsMutex);
        objects.swap(g_objects);
    }
    if (objects == nullptr) {
        return;
    }
    if (objects->admin != nullptr) {
        objects->admin->stop();
    }
    objects->notifications->stop();
    objects->settings->stop();
    objects->keyValues->stop();
    g_options = Options();
    dlog_print(DLOG_INFO, kLogTag, "platform shut down");
}

void noteFatalError(const std::string& reason) {
    if (g_fatalError.empty()) {
        g_fatalError = reason;
    }
}

void reportFatalError(const std::string& reason) {
    dlog_print(DLOG_ERROR, kLogTag, "%s", reason.c_str());
    noteFatalError(reason);
    if (g_fatalErrorHandler) {
        g_fatalErrorHandler();
    }
}

std::string fatalError() {
    return g_fatalError;
}

void setFatalErrorHandler(std::function<void()> handler) {
    g_fatalErrorHandler = std::move(handler);
}

bool isInitialized() {
    return currentObjects() != nullptr;
}

const Options& options() {
    return g_options;
}

unsigned short adminPort() {
    const auto objects = currentObjects();
    return objects != nullptr && objects->admin != nullptr ? objects->admin->port() : 0;
}

std::shared_ptr<AdminServer> adminServer() {
    const auto objects = currentObjects();
    return objects != nullptr ? objects->admin : nullptr;
}

std::shared_ptr<const ProductProfile> productProfile() {
    const auto objects = currentObjects();
    return objects != nullptr ? objects->profile : nullptr;
}

std::string resolveProfilePath(const std::string& name, const std::string& resourceDir) {
    std::string path;
    if (name.find('/') != std::string::npos || g_str_has_suffix(name.c_str(), ".json")) {
        path = name;
    } else {
        const std::string file = (name.empty() ? kDefaultProfile : name) + ".json";
        gchar* joined = g_build_filename(resourceDir.c_str(), "profiles", file.c_str(), nullptr);
        path = joined;
        g_free(joined);
    }
    gchar* absolute = g_canonicalize_filename(path.c_str(), nullptr);
    std::string result = absolute;
    g_free(absolute);
    return result;
}

}  // namespace ipc_platform
