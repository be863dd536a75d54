// Paired clients C interface: forwards to the process's PairedClientsControl.
#include "paired_clients.h"

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

}  // extern "C"
