// jemalloc's options for the daemon, read by jemalloc when the process starts.

// One arena: the threads' own caches take the allocations of a request, so more arenas would
// only add memory (about 0.8 MiB) without making a request faster. MALLOC_CONF in the
// environment still overrides this.
extern "C" {
extern const char* malloc_conf;
const char* malloc_conf = "narenas:1";
}
