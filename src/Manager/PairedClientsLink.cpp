// The access manager's side of the TV screen page's client list: the list shown, revoke, reset.
#include "Manager/PairedClientsLink.h"

#include <exception>

#include "Log.h"
#include "Manager/AccessManager.h"
#include "paired_clients.h"

namespace {

// The platform withdraws the handlers before the manager goes, so data is alive in both.
int revokeFromScreen(const char* macAddr, void* data) {
    try {
        return static_cast<AccessManager*>(data)->revokeClient(macAddr != nullptr ? macAddr : "");
    } catch (const std::exception& e) {
        LOGE("revoke failed: %s", e.what());
        return 0;
    }
}

void resetFromScreen(void* data) {
    LOGI("paired clients reset from the TV screen");
    try {
        static_cast<AccessManager*>(data)->resetAuthGroupData();
    } catch (const std::exception& e) {
        LOGE("reset failed: %s", e.what());
    }
}

}  // namespace

void PairedClientsLink::attach(AccessManager* manager) {
    paired_clients_set_handlers(&revokeFromScreen, &resetFromScreen, manager);
}

void PairedClientsLink::detach(AccessManager* manager) {
    paired_clients_unset_handlers(manager);
}

void PairedClientsLink::show(AccessManager* manager, const std::vector<AuthRecord>& list) {
    std::vector<paired_clients_client_s> clients;
    clients.reserve(list.size());
    for (const AuthRecord& record : list) {
        clients.push_back({record.macAddr.c_str(), record.accessClass, record.accessToken.c_str()});
    }
    paired_clients_set_list(clients.data(), static_cast<int>(clients.size()), manager);
}
