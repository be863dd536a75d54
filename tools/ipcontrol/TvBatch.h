// One command on many TVs: bounded concurrency, one line per TV and a closing summary.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Outcome.h"
#include "TvSelection.h"

// run() is called from the main thread and blocks; job runs on up to `parallel` worker
// threads at once, so it must only share thread-safe state (the token store is). The texts
// are built on the calling thread afterwards.
class TvBatch {
public:
    struct Result {
        TvTarget tv;
        Outcome outcome;
    };

    using Job = std::function<Outcome(const TvTarget&)>;

    // Calls step(0) ... step(count - 1) on up to `parallel` threads at once; returns when all
    // have returned.
    static void forEach(size_t count, size_t parallel, const std::function<void(size_t)>& step);
    // Runs job on every TV; the results in the order of tvs.
    static std::vector<Result> run(const std::vector<TvTarget>& tvs, size_t parallel,
                                   const Job& job);

    // "tv001 (10.77.0.11:1516): Volume 20"; a failure gives its sentence instead. Output of
    // several lines is indented under the first.
    static std::string line(const Result& result);
    // "98 done, 2 failed: tv003 (cannot be reached), tv017 (not paired)".
    static std::string summary(const std::vector<Result>& results);
    // {"tvs": [{name, address, port, ok, exitCode, output, message}...], "done": n, "failed": m}
    static std::string json(const std::vector<Result>& results);
    // Success when every TV succeeded; the failures' code when they share one; else Failure.
    static ExitCode exitCode(const std::vector<Result>& results);
};
