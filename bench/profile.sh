#!/usr/bin/env bash
# Where an authorised read spends its time: ipcontrold from a build with frame pointers runs
# under callgrind while a sequential client sends a fixed number of authorised reads; prints
# instructions per request and the top functions by inclusive and by self cost. Instruction
# counts do not depend on the load of the machine. With --perf, when perf can sample here, also
# a sampled profile (cpu-clock, frame-pointer call graphs) of the daemon under wrk load.
# Usage: bench/profile.sh [--requests N] [--log-level LEVEL] [--top N] [--perf] [--keep FILE]
#                         [--no-build]
set -euo pipefail
cd "$(dirname "$0")/.."

requests=3000
level=info
top=30
perf=0
keep=""  # a path the callgrind profile is copied to, for callgrind_annotate --tree=caller
build=1
while [ $# -gt 0 ]; do
    case $1 in
        --requests) requests=$2; shift ;;
        --log-level) level=$2; shift ;;
        --top) top=$2; shift ;;
        --perf) perf=1 ;;
        --keep) keep=$2; shift ;;
        --no-build) build=0 ;;
        *) sed -n '2,8p' "$0" >&2; exit 2 ;;
    esac
    shift
done

source bench/lib.sh
tree=build-profile
[ "$build" = 0 ] || build_daemon "$tree" -DIPC_FRAME_POINTERS=ON

# Counting starts only once the daemon is up and the client paired and warmed up.
ipcontrold=(valgrind --tool=callgrind --instr-atstart=no
            "--callgrind-out-file=$work/callgrind.out" "$tree/bin/ipcontrold")
listen_tries=1200
echo "Starting ipcontrold under callgrind ..." >&2
start_ipc callgrind --no-upnp --log-level "$level"
token[callgrind]=$(client pair "${port[callgrind]}")
body=$(read_body "${token[callgrind]}")
client send "${port[callgrind]}" 100 "$body"
callgrind_control --instr=on "${pid[callgrind]}" >/dev/null 2>&1
client send "${port[callgrind]}" "$requests" "$body"
callgrind_control --dump "${pid[callgrind]}" >/dev/null 2>&1
stop_ipc callgrind
# The dump taken above is the only one with requests in it; the daemon's own at exit follows.
profile=$work/callgrind.out.1
[ -z "$keep" ] || cp "$profile" "$keep"

annotate() { callgrind_annotate --auto=no --threshold=100 "$@" "$profile" 2>/dev/null; }
total=$(annotate | awk '/PROGRAM TOTALS/ { gsub(/,/, "", $1); print $1 }')
echo
echo "ipcontrold at log level $level, $requests authorised reads (powerControl), one at a time:"
awk -v t="$total" -v n="$requests" \
    'BEGIN { printf "%.0f instructions per request (%s in all, every thread)\n", t / n, t }'
echo
echo "Top $top functions by inclusive instructions (the function and what it calls):"
annotate --inclusive=yes | python3 bench/callgrind_top.py inclusive "$top" "$requests"
echo
echo "Top $top functions by self instructions:"
annotate | python3 bench/callgrind_top.py self "$top" "$requests"

if [ "$perf" = 1 ]; then
    if ! perf record -q -e cpu-clock -o "$work/probe.data" true >/dev/null 2>&1; then
        echo "perf cannot sample on this machine; the callgrind profile above stands alone." >&2
        exit 0
    fi
    ipcontrold=("$tree/bin/ipcontrold")
    listen_tries=200
    start_ipc perf --no-upnp --log-level "$level"
    token[perf]=$(client pair "${port[perf]}")
    BENCH_BODY=$(read_body "${token[perf]}") wrk -t2 -c32 -d12s -s bench/jsonrpc.lua \
        "http://127.0.0.1:${port[perf]}/" >/dev/null &
    load=$!
    pids+=("$load")
    sleep 1
    perf record -q -e cpu-clock -F 999 --call-graph fp -p "${pid[perf]}" -o "$work/perf.data" \
        -- sleep 10 2>/dev/null
    wait "$load"
    echo
    echo "perf, 10 s of wrk -t2 -c32 load, by self samples (libraries without frame pointers cut the"
    echo "call chains short):"
    perf report -i "$work/perf.data" --stdio --no-children --percent-limit 0.5 -g none \
        --sort dso,symbol 2>/dev/null | awk -v top="$top" '!/^#/ && NF && k++ < top { sub(/[ -]+$/, ""); print }'
fi
