// Owner of the twelve control helpers and of the framework's service names.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "System/IControlHelper.h"

// Makes one helper per TV-control domain, which the command maps then share. create() and
// destroy() run where the handler is created and destroyed (main loop); getHelper() and the
// names are read-only in between and safe from any thread.
class TVControlHelper {
public:
    // The domains, in the order their helpers are made (and released in reverse).
    enum Domain {
        APP,
        CHANNEL,
        DEVICE,
        INPUT,
        PICTURE,
        POWER,
        SOUND,
        SOURCE,
        WALL_MODE,
        EXPERT_PICTURE,
        MULTI_VIEW,
        DISPLAY_ROTATOR,
        DOMAIN_COUNT
    };

    TVControlHelper();
    ~TVControlHelper();
    // Makes the helpers (again, after destroy()). Always true.
    bool create();
    // Releases the helpers; the maps may still hold shared references until they are cleared.
    void destroy();
    // Empty before create() and after destroy().
    std::shared_ptr<IControlHelper> getHelper(Domain domain) const;
    const std::string& getTVServiceName() const { return m_tvServiceName; }
    const std::string& getWallServiceName() const { return m_wallServiceName; }

private:
    std::array<std::shared_ptr<IControlHelper>, DOMAIN_COUNT> m_helpers;
    const std::string m_tvServiceName;
    const std::string m_wallServiceName;
};
