// Interface of the request pipeline as the core sees it.
#pragma once

// Lifecycle of the request pipeline. Main-loop only.
class IServiceManager {
public:
    virtual ~IServiceManager() = default;
    virtual bool create() = 0;
    virtual bool destroy() = 0;
};
