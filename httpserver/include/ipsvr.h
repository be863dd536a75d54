/* C interface of libipcontrol-http-server.so: JSON requests over HTTP, answered asynchronously. */
#ifndef IPSVR_H
#define IPSVR_H

#ifndef __cplusplus
#include <stdbool.h>
#endif

#if defined(__GNUC__)
#define IPSVR_EXPORT __attribute__((visibility("default")))
#else
#define IPSVR_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Size of the buffer given to ipsvr_getPeerMacAddr: "aa:bb:cc:dd:ee:ff" and its terminator. */
#define IPSVR_MAC_BUFFER_SIZE 18

/* Results. Every function returns IPSVR_OK or one of the negative codes. */
#define IPSVR_OK 0
#define IPSVR_ERR_INVALID_ARGUMENT (-1) /* a null pointer where one is required */
#define IPSVR_ERR_NOT_STARTED (-2)      /* no server is running */
#define IPSVR_ERR_ALREADY_STARTED (-3)  /* ipsvr_start while a server runs */
#define IPSVR_ERR_LISTEN (-4)           /* the port could not be bound (no permission, say) */
#define IPSVR_ERR_UNKNOWN_CLIENT (-5)   /* the id is unknown, answered, expired or its peer left */
#define IPSVR_ERR_NO_MAC (-6)           /* the peer is not in the kernel neighbour table */
#define IPSVR_ERR_WRONG_THREAD (-7)     /* ipsvr_start or ipsvr_stop called from the callback */
#define IPSVR_ERR_PORT_IN_USE (-8)      /* another program listens on the port */

/* Called once per request on the library's thread. json is the request body, NUL-terminated,
 * valid only during the call. The request waits until ipsvr_sendResponse(clientId, ...). */
typedef void (*ipsvr_request_cb)(unsigned int clientId, const char* json, void* userData);

/* Listens on port over IPv6 and IPv4 (IPv4 only where IPv6 is missing); port 0 picks a free
 * port, see ipsvr_getPort. Thread-safe; not from inside the callback. */
IPSVR_EXPORT int ipsvr_start(unsigned short port);

/* Closes the listener, answers every waiting request with 503 and frees everything. Harmless
 * when not started. Thread-safe; not from inside the callback. */
IPSVR_EXPORT int ipsvr_stop(void);

/* Answers request clientId: 200 with text as application/json, or, when accessDenied, 403 with
 * text as body (null or "" gives an empty body). Thread-safe, also from inside the callback.
 * IPSVR_ERR_UNKNOWN_CLIENT when the id is not waiting any more; nothing is sent then. */
IPSVR_EXPORT int ipsvr_sendResponse(unsigned int clientId, const char* text, bool accessDenied);

/* Writes the MAC address of a waiting request's peer as "aa:bb:cc:dd:ee:ff" (lower case) into
 * outBuffer (at least IPSVR_MAC_BUFFER_SIZE bytes), or "" with a negative result. Loopback
 * peers get "02:00:00:00:00:01". Thread-safe. */
IPSVR_EXPORT int ipsvr_getPeerMacAddr(unsigned int clientId, char* outBuffer);

/* Registers the request callback (null unregisters: requests are then answered 503).
 * Thread-safe; takes effect for the next request. */
IPSVR_EXPORT int ipsvr_setCallback(ipsvr_request_cb callback, void* userData);

/* Tuning: how long a request may wait for its answer before it gets 504 (0 restores the
 * default of 60000 ms). Applies to requests that arrive afterwards. Thread-safe. */
IPSVR_EXPORT int ipsvr_setResponseTimeoutMs(unsigned int milliseconds);

/* The port the running server listens on (useful after ipsvr_start(0)), or
 * IPSVR_ERR_NOT_STARTED. Thread-safe. */
IPSVR_EXPORT int ipsvr_getPort(void);

#ifdef __cplusplus
}
#endif

#endif /* IPSVR_H */
