// jemalloc's options for the daemon, read by jemalloc when the process starts.

// Why jemalloc: a request's objects are made on one thread and freed on another, and glibc's
// per-thread arenas then lock each other out (futex calls and throughput in bench/README.md), for
// about 2.7 MiB more resident memory. Sanitizer and fuzzing builds keep their own allocator.

// One arena: the threads' own caches take the allocations of a request, so more arenas would
// only add memory (about 0.8 MiB) without making a request faster. MALLOC_CONF in the
// environment still overrides this.
extern "C" {
extern const char* malloc_conf;
const char* malloc_conf = "narenas:1";
}
