/* Paired clients interface: the service that owns the list of paired clients shows it on the TV
 * screen page and lets the page revoke one client or forget them all. The service registers its
 * handlers while it runs; the admin API calls them on the main loop (the thread of the GLib
 * default main context), never inside set or unset, and answers once they returned. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    PAIRED_CLIENTS_ERROR_NONE = 0,
    PAIRED_CLIENTS_ERROR_INVALID_PARAMETER = -1, /* a NULL handler or list */
    PAIRED_CLIENTS_ERROR_NOT_OWNER = -2,         /* user_data is not the handlers' owner */
} paired_clients_error_e;

/* One paired client as the service knows it. */
typedef struct {
    const char* mac_address;  /* "aa:bb:cc:dd:ee:ff" */
    int access_class;         /* 0 allowed, 1 denied once, 2 denied */
    const char* access_token; /* the whole token; "" for a client never allowed */
} paired_clients_client_s;

/* Forgets every client with this MAC address ("aa:bb:cc:dd:ee:ff"), so that its token is refused
 * from now on; returns how many records went. Main loop. */
typedef int (*paired_clients_revoke_cb)(const char* mac_address, void* user_data);
/* Forgets every client. Main loop. */
typedef void (*paired_clients_reset_cb)(void* user_data);

/* Installs the handlers, replacing earlier ones. Works whether or not the platform is
 * initialised. */
int paired_clients_set_handlers(paired_clients_revoke_cb revoke, paired_clients_reset_cb reset,
                                void* user_data);
/* Removes the handlers if they were installed with user_data, and the list with them. When it
 * returns, no handler call for user_data is running on another thread and none starts later, so
 * user_data may go. */
void paired_clients_unset_handlers(void* user_data);
/* Replaces the list the page shows with count clients, in this order; call it after every change.
 * Only the owner of the installed handlers may (NOT_OWNER otherwise). The platform keeps each
 * token's first six characters only. Any thread, a handler included: it takes no lock a handler
 * call holds and calls nothing of the service. */
int paired_clients_set_list(const paired_clients_client_s* clients, int count, void* user_data);

#ifdef __cplusplus
}
#endif
