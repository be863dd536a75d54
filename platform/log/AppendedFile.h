// Lines appended to files by the log's writing thread.
#pragma once

#include <string>

namespace ipc_platform {

// Queues line (without its newline) for the file at path. The log's writing thread appends it
// within a few milliseconds, in one write with the other lines queued meanwhile, and moves the
// file aside to <path>.1 when the next line would take it past 1 MiB; dlog_flush() returns once
// it is written. False when the log's queue is full: the line is lost. Thread-safe.
bool appendFileLine(const std::string& path, const std::string& line);

}  // namespace ipc_platform
