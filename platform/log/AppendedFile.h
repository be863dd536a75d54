// Lines appended to files by the log's writing thread.
#pragma once

#include <string>

namespace ipc_platform {

// Queues line (without its newline) for the file at path. The log's writing thread appends it
// within a few milliseconds, in one write with the other lines queued meanwhile, and moves the
// file aside to <path>.1 when the next line would take it past 1 MiB; dlog_flush() returns once
// it is written. Log lines never crowd it out. False when it could not be written (only known
// when the caller had to write it itself: the queue full, or the process exiting). Thread-safe.
bool appendFileLine(const std::string& path, const std::string& line);

}  // namespace ipc_platform
