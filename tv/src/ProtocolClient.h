// A protocol handle of the framework (dynf_protocol_h) and the registry of the open ones.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

#include "dynf.h"

namespace ipc_tv {
class VirtualTv;
}

// One client of the framework: its callbacks and the TV it talks to. Immutable after creation;
// thread-safe.
struct dynf_protocol_s {
    uint64_t id = 0;  // never reused, so work posted for a closed handle never reaches a new one
    dynf_service_status_cb statusCallback = nullptr;
    dynf_noti_cb notificationCallback = nullptr;
    void* userData = nullptr;
    std::weak_ptr<ipc_tv::VirtualTv> tv;
};

namespace ipc_tv {

using ClientPtr = std::shared_ptr<dynf_protocol_s>;

// The handles the process holds, so that a stale or foreign pointer is refused instead of used.
// Thread-safe.
class ClientRegistry {
public:
    static ClientRegistry& instance();

    void add(ClientPtr client);
    // Null for a handle that is not open.
    ClientPtr find(dynf_protocol_h handle) const;
    // Takes the handle out; null when it was not open.
    ClientPtr remove(dynf_protocol_h handle);

private:
    mutable std::mutex m_mutex;  // protects m_clients
    std::map<dynf_protocol_h, ClientPtr> m_clients;
};

}  // namespace ipc_tv
