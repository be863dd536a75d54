// Running a command on many TVs and telling how each went.
#include "TvBatch.h"

#include <algorithm>
#include <atomic>
#include <thread>

#include "JsonValue.h"

using common::json::JsonType;
using common::json::JsonValue;

namespace {

// A few words for the summary, by exit code.
const char* reasonOf(ExitCode code) {
    switch (code) {
        case ExitCode::Unreachable:
            return "cannot be reached";
        case ExitCode::Denied:
            return "pairing denied";
        case ExitCode::TimedOut:
            return "pairing timed out";
        case ExitCode::Blocked:
            return "this device is blocked";
        case ExitCode::PairingBusy:
            return "pairing pop-up already shown";
        case ExitCode::NotPaired:
            return "not paired";
        case ExitCode::MethodNotFound:
            return "no such method";
        case ExitCode::RpcError:
            return "refused";
        case ExitCode::Usage:
            return "usage";
        default:
            return "failed";
    }
}

std::string nameOf(const TvTarget& tv) {
    return tv.name.empty() ? tv.label() : tv.name;
}

}  // namespace

void TvBatch::forEach(size_t count, size_t parallel, const std::function<void(size_t)>& step) {
    std::atomic<size_t> next{0};
    auto work = [&] {
        for (size_t i = next++; i < count; i = next++) {
            step(i);
        }
    };
    std::vector<std::thread> workers;
    const size_t threads = std::min(std::max<size_t>(parallel, 1), count);
    for (size_t i = 0; i < threads; ++i) {
        workers.emplace_back(work);
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
}

std::vector<TvBatch::Result> TvBatch::run(const std::vector<TvTarget>& tvs, size_t parallel,
                                          const Job& job) {
    std::vector<Result> results(tvs.size());
    forEach(tvs.size(), parallel, [&](size_t i) {
        results[i].tv = tvs[i];
        results[i].outcome = job(tvs[i]);
    });
    return results;
}

std::string TvBatch::line(const Result& result) {
    const Outcome& outcome = result.outcome;
    std::string text = outcome.code == ExitCode::Success
                           ? (outcome.output.empty() ? outcome.sentence : outcome.output)
                           : "failed: " + outcome.sentence;
    while (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    std::string indented;
    for (char c : text) {
        indented += c;
        if (c == '\n') {
            indented += "    ";
        }
    }
    return result.tv.label() + ": " + (indented.empty() ? "done" : indented);
}

std::string TvBatch::summary(const std::vector<Result>& results) {
    size_t failed = 0;
    std::string failures;
    for (const Result& result : results) {
        if (result.outcome.code == ExitCode::Success) {
            continue;
        }
        failures += std::string(failed == 0 ? ": " : ", ") + nameOf(result.tv) + " (" +
                    reasonOf(result.outcome.code) + ")";
        ++failed;
    }
    return std::to_string(results.size() - failed) + " done, " + std::to_string(failed) +
           " failed" + failures;
}

std::string TvBatch::json(const std::vector<Result>& results) {
    JsonValue root(JsonType::objectValue);
    JsonValue list(JsonType::arrayValue);
    int failed = 0;
    for (const Result& result : results) {
        const bool ok = result.outcome.code == ExitCode::Success;
        JsonValue entry(JsonType::objectValue);
        entry["name"] = result.tv.name;
        entry["address"] = result.tv.address;
        entry["port"] = result.tv.port == 0 ? JsonValue() : JsonValue(result.tv.port);
        entry["ok"] = ok;
        entry["exitCode"] = static_cast<int>(result.outcome.code);
        // With --json the output is the TV's raw body, itself JSON when there is one.
        JsonValue body = JsonValue::Create(result.outcome.output);
        entry["output"] = body.isNull() ? JsonValue(result.outcome.output) : body;
        entry["message"] = result.outcome.sentence;
        list.append(entry);
        failed += ok ? 0 : 1;
    }
    root["tvs"] = list;
    root["done"] = static_cast<int>(results.size()) - failed;
    root["failed"] = failed;
    return root.toString();
}

ExitCode TvBatch::exitCode(const std::vector<Result>& results) {
    ExitCode shared = ExitCode::Success;
    for (const Result& result : results) {
        const ExitCode code = result.outcome.code;
        if (code == ExitCode::Success || code == shared) {
            continue;
        }
        if (shared != ExitCode::Success) {
            return ExitCode::Failure;
        }
        shared = code;
    }
    return shared;
}
