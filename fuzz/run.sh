#!/usr/bin/env bash
# Runs every fuzz target of a fuzzing build for a while and prints what each did.
# Usage: fuzz/run.sh BUILD_DIR SECONDS [TARGET...]
# New inputs go to BUILD_DIR/fuzz/corpus/NAME (the seeds in fuzz/corpus/NAME are only read); a
# crashing input is kept as BUILD_DIR/fuzz/artifacts/NAME-crash-*. Exit 1 when any target failed.
# FUZZ_SEED=N fixes libFuzzer's random seed (CI does, so that a run can be repeated); FUZZ_RUNS=N
# ends a target after N executions if that comes before SECONDS.
set -uo pipefail
cd "$(dirname "$0")/.."

build=${1:?build directory}
seconds=${2:?seconds per target}
shift 2
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    for program in "$build"/fuzz/fuzz-*; do
        targets+=("$(basename "$program" | sed 's/^fuzz-//')")
    done
fi

# The memory limit is for what the code under test holds: GLib's slice cache and AddressSanitizer's
# quarantine of freed blocks (256 MB by default) would otherwise count against it.
export G_SLICE=always-malloc
export ASAN_OPTIONS=${ASAN_OPTIONS:-quarantine_size_mb=32}

failed=()
printf '%-18s %12s %8s %8s %s\n' target executions cov ft result
for name in "${targets[@]}"; do
    program=$build/fuzz/fuzz-$name
    corpus=$build/fuzz/corpus/$name
    artifacts=$build/fuzz/artifacts
    mkdir -p "$corpus" "$artifacts"
    log=$build/fuzz/$name.log
    # Bounds that a hostile input must stay within: 512 MB and 10 s per input.
    "$program" ${FUZZ_SEED:+-seed=$FUZZ_SEED} ${FUZZ_RUNS:+-runs=$FUZZ_RUNS} -max_total_time="$seconds" -rss_limit_mb=512 -timeout=10 -print_final_stats=1 \
        -artifact_prefix="$artifacts/$name-" "$corpus" "fuzz/corpus/$name" >"$log" 2>&1
    status=$?
    runs=$(awk '/stat::number_of_executed_units/ { print $2 }' "$log" | tail -n 1)
    read -r cov ft < <(grep -E '^#[0-9]+' "$log" | tail -n 1 |
        awk '{ for (i = 1; i < NF; ++i) { if ($i == "cov:") c = $(i + 1); if ($i == "ft:") f = $(i + 1) } } END { print c + 0, f + 0 }')
    if [ $status -eq 0 ]; then
        result=ok
    else
        result="FAILED (exit $status, see $log)"
        failed+=("$name")
    fi
    printf '%-18s %12s %8s %8s %s\n' "$name" "${runs:-?}" "$cov" "$ft" "$result"
done
if [ ${#failed[@]} -gt 0 ]; then
    echo "fuzzing found a problem in: ${failed[*]}"
    for name in "${failed[@]}"; do
        echo "=== $name"
        grep -E -A25 'ERROR:|==[0-9]+==|SUMMARY|deadly signal|out-of-memory|timeout' \
            "$build/fuzz/$name.log" | head -60
    done
    exit 1
fi
