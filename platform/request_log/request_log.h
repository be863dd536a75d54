/* Request log interface: the service reports each JSON-RPC request it finished, and the TV screen
 * page shows the latest ones live. Thread-safe and cheap: a call copies the entry into a bounded
 * ring buffer under a briefly held lock and does no I/O, so it may be made on any request path. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    REQUEST_LOG_ERROR_NONE = 0,
    REQUEST_LOG_ERROR_INVALID_PARAMETER = -1, /* a NULL entry */
    REQUEST_LOG_ERROR_NOT_READY = -2,         /* no admin server runs: nothing is recorded */
} request_log_error_e;

typedef enum {
    REQUEST_LOG_KIND_OTHER = 0, /* not a JSON-RPC request, or its direction is unknown */
    REQUEST_LOG_KIND_READ = 1,
    REQUEST_LOG_KIND_WRITE = 2,
    REQUEST_LOG_KIND_PAIR = 3, /* a pairing request */
} request_log_kind_e;

/* One finished request. Texts may be NULL (shown as ""); they are copied, and the answer is cut
 * to REQUEST_LOG_MAX_ANSWER bytes at a character boundary. */
typedef struct {
    const char* client; /* the client's MAC address */
    const char* method; /* "" when the request did not parse */
    request_log_kind_e kind;
    int http_status;           /* 200 answered, 403 refused */
    int error_code;            /* the JSON-RPC error code; 0 when the request succeeded */
    const char* error_message; /* the error object's message (and data), "" without error */
    const char* answer;        /* what the client got, for showing; "" for a refusal */
    unsigned int duration_ms;  /* from arrival to the answer */
} request_log_entry_s;

#define REQUEST_LOG_CAPACITY 100
#define REQUEST_LOG_MAX_ANSWER 512

/* Records entry as the newest one, dropping the oldest beyond REQUEST_LOG_CAPACITY, and tells the
 * page. */
int request_log_add(const request_log_entry_s* entry);

#ifdef __cplusplus
}
#endif
