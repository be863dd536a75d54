// The objects behind the platform's C interfaces while the platform is initialised. Internal to
// the platform library. Thread-safe: each call takes a snapshot that stays valid while held, even
// across shutdown.
#pragma once

#include <memory>
#include <string>

#include "PlatformRuntime.h"

namespace ipc_platform {

class ProductProfile;
class SettingsStore;
class KeyValueStore;
class NotificationCenter;
class AdminServer;

struct PlatformObjects {
    Options options;
    std::shared_ptr<const ProductProfile> profile;
    std::shared_ptr<SettingsStore> settings;
    std::shared_ptr<KeyValueStore> keyValues;
    std::shared_ptr<NotificationCenter> notifications;
    // Null unless Options::adminServer. Platform parts add their state sections and routes here.
    std::shared_ptr<AdminServer> admin;
};

// Null when the platform is not initialised.
std::shared_ptr<const PlatformObjects> currentObjects();

// Keeps reason as the fatal error without logging it, for a failure that initialize returns to
// the host itself. Main-loop thread.
void noteFatalError(const std::string& reason);

}  // namespace ipc_platform
