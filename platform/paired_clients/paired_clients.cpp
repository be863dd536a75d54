// Paired clients C interface: forwards to the process's PairedClientsControl.
#include "paired_clients.h"

#include <utility>
#include <vector>

#include "PairedClientsControl.h"

extern "C" {

int paired_clients_set_handlers(paired_clients_revoke_cb revoke, paired_clients_reset_cb reset,
                                void* user_data) {
    if (revoke == nullptr || reset == nullptr) {
        return PAIRED_CLIENTS_ERROR_INVALID_PARAMETER;
    }
    ipc_platform::PairedClientsControl::instance().setHandlers(revoke, reset, user_data);
    return PAIRED_CLIENTS_ERROR_NONE;
}

void paired_clients_unset_handlers(void* user_data) {
    ipc_platform::PairedClientsControl::instance().unsetHandlers(user_data);
}

int paired_clients_set_list(const paired_clients_client_s* clients, int count, void* user_data) {
    if (count < 0 || (count > 0 && clients == nullptr)) {
        return PAIRED_CLIENTS_ERROR_INVALID_PARAMETER;
    }
    std::vector<ipc_platform::PairedClientsControl::Client> list;
    list.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        list.push_back(ipc_platform::PairedClientsControl::shown(clients[i]));
    }
    return ipc_platform::PairedClientsControl::instance().setList(std::move(list), user_data)
               ? PAIRED_CLIENTS_ERROR_NONE
               : PAIRED_CLIENTS_ERROR_NOT_OWNER;
}

}  // extern "C"
