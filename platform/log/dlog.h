// Platform log: one line per call, queued in memory and written to stderr by the log's own thread
// (or handed to a sink installed by the host or a test). Thread-safe: lines from different
// threads never interleave, and a caller never waits for the terminal or the journal.
#pragma once

#include <stdarg.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    DLOG_DEBUG = 3,
    DLOG_INFO = 4,  // progress
    DLOG_WARN = 5,
    DLOG_ERROR = 6,   // errors
    DLOG_SILENT = 8,  // as a minimum priority: nothing is written
} log_priority;

// Queues one line for stderr when prio is at or above the minimum priority. Returns the number of
// bytes of the message, 0 when filtered out, -1 on a bad argument. When the queue is full the
// line is dropped and counted ("N log lines dropped" follows once there is room); one that comes
// while the queue is still full is dropped before it is formatted, and gives 0.
int dlog_print(log_priority prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));
int dlog_vprint(log_priority prio, const char* tag, const char* fmt, va_list ap);

// Lines below this priority are not written. Default: DLOG_INFO. The recent lines (admin API)
// keep info and above even when this is higher, and nothing at DLOG_SILENT.
void dlog_set_min_priority(log_priority prio);
log_priority dlog_get_min_priority(void);

// Receives every line that passes the filter instead of stderr, on the calling thread before
// dlog_print returns; NULL restores stderr. The message is the formatted text without time,
// level or tag.
typedef void (*dlog_sink_cb)(log_priority prio, const char* tag, const char* message,
                             void* user_data);
void dlog_set_sink(dlog_sink_cb sink, void* user_data);

// Blocks until every line queued before the call has been written (before writing to stderr
// directly, or before exiting). Lines still queued when the process exits are written then.
void dlog_flush(void);
// For a fatal signal's handler: waits up to timeout_ms for the log's thread to write what is
// queued, without blocking on a lock the crashing thread may hold.
void dlog_flush_in_crash(int timeout_ms);

// Sends the messages of GLib-based libraries (GUPnP, libsoup, GIO) through this log, with their
// levels and their log domain as the tag, so that they reach the same place (the journal under
// systemd). Debug messages stay off unless G_MESSAGES_DEBUG asks for them, as in GLib.
void dlog_route_glib_messages(void);

#ifdef __cplusplus
}
#endif
