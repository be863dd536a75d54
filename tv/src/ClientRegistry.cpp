// The registry of open protocol handles.
#include "ProtocolClient.h"

namespace ipc_tv {

ClientRegistry& ClientRegistry::instance() {
    static ClientRegistry registry;
    return registry;
}

void ClientRegistry::add(ClientPtr client) {
    std::lock_guard<std::mutex> lock(m_mutex);
    dynf_protocol_h handle = client.get();
    m_clients[handle] = std::move(client);
}

ClientPtr ClientRegistry::find(dynf_protocol_h handle) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_clients.find(handle);
    return it != m_clients.end() ? it->second : nullptr;
}

ClientPtr ClientRegistry::remove(dynf_protocol_h handle) {
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_clients.find(handle);
    if (it == m_clients.end()) {
        return nullptr;
    }
    ClientPtr client = std::move(it->second);
    m_clients.erase(it);
    return client;
}

}  // namespace ipc_tv
