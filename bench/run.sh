#!/usr/bin/env bash
# Load benchmark of what users run: the release ipcontrold at its default log level and at
# silent, beside a bare libmicrohttpd server and a Node JSON-RPC mock, all measured with wrk on
# loopback in interleaved rounds; then system calls per authorised request (strace), the same
# read with 10,000 paired clients, and on request the RSS soak with UPnP on.
# Usage: bench/run.sh [--seconds N] [--rounds N] [--connections N] [--soak] [--no-build]
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=5             # per wrk measurement
rounds=3              # every measurement is taken this many times, interleaved; medians reported
connections=32
pair_seconds=3        # pairing round trips per daemon and round
syscall_requests=2000 # authorised requests sent under strace
clients=10000         # paired clients in the large-list scenario
soak=0
soak_requests=1000000
build=1
while [ $# -gt 0 ]; do
    case $1 in
        --seconds) seconds=$2; shift ;;
        --rounds) rounds=$2; shift ;;
        --connections) connections=$2; shift ;;
        --pair-seconds) pair_seconds=$2; shift ;;
        --syscall-requests) syscall_requests=$2; shift ;;
        --clients) clients=$2; shift ;;
        --soak) soak=1 ;;
        --soak-requests) soak_requests=$2; shift ;;
        --no-build) build=0 ;;
        *) sed -n '2,6p' "$0" >&2; exit 2 ;;
    esac
    shift
done

source bench/lib.sh
[ "$build" = 0 ] || build_daemon build
results=$work/results

# start_peer NAME COMMAND...: a peer that listens on a port of its own choice and prints it.
start_peer() {
    local name=$1; shift
    "$@" >"$work/$name.port" &
    pid[$name]=$! pids+=("$!")
    for _ in $(seq 100); do
        port[$name]=$(head -n 1 "$work/$name.port")
        [ -n "${port[$name]}" ] && return 0
        sleep 0.1
    done
    echo "run.sh: $name did not start" >&2
    exit 1
}

unknown_token=0123456789012345678901234567890123456789012345678

body_of() {
    case $2 in
        read) read_body "${token[$1]}" ;;
        write) write_body "${token[$1]}" ;;
        refusal) read_body "$unknown_token" ;;
    esac
}

# wrk_run NAME REQUEST SECONDS: prints "requests_per_s p50_ms p99_ms non2xx socket_errors".
wrk_run() {
    BENCH_BODY=$(body_of "$1" "$2") wrk -t2 -c"$connections" -d"${3}s" --latency \
        -s bench/jsonrpc.lua "http://127.0.0.1:${port[$1]}/" | awk '
        function ms(v) { if (v ~ /us$/) return v / 1000; if (v ~ /ms$/) return v + 0; if (v ~ /s$/) return v * 1000; return v }
        /Requests\/sec/ { rps = $2 }
        $1 == "50%" { p50 = ms($2) }
        $1 == "99%" { p99 = ms($2) }
        /Non-2xx/ { non2xx = $NF }
        /Socket errors/ { gsub(/,/, ""); errors = $4 + $6 + $8 + $10 }
        END { printf "%.0f %.3f %.3f %d %d\n", rps, p50, p99, non2xx, errors }'
}

# syscalls NAME: strace attached to every thread of the daemon while a sequential client sends
# a fixed number of authorised reads; records the total count of system calls.
syscalls() {
    local name=$1 daemon=${pid[$1]}
    strace -f -c -o "$work/strace.$name" -p "$daemon" 2>/dev/null &
    local tracer=$!
    pids+=("$tracer")
    # Attached once every thread of the daemon reports a tracer.
    for _ in $(seq 100); do
        grep -q 'TracerPid:[[:space:]]0$' /proc/"$daemon"/task/*/status || break
        sleep 0.1
    done
    client send "${port[$name]}" "$syscall_requests" "$(read_body "${token[$name]}")"
    kill -INT "$tracer"
    wait "$tracer" || true
    echo "syscalls $name $(awk '$NF == "total" { print $4 }' "$work/strace.$name") $syscall_requests" >>"$results"
}

echo "Starting the servers ..." >&2
start_ipc info --no-upnp
start_ipc silent --no-upnp --log-level silent
for name in info silent; do token[$name]=$(client pair "${port[$name]}"); done

# The large list: the benchmark client pairs through the daemon, then the stopped daemon's file
# gets the other clients in front of that record; both levels start from copies of it.
start_ipc many-setup --no-upnp --log-level silent
many_token=$(client pair "${port[many-setup]}")
stop_ipc many-setup
client authlist "$work/many-setup/authlist/authlist.dat" "$clients"
cp -a "$work/many-setup" "$work/many-info"
cp -a "$work/many-setup" "$work/many-silent"
start_ipc many-info --no-upnp
start_ipc many-silent --no-upnp --log-level silent
token[many-info]=$many_token token[many-silent]=$many_token

start_peer bare build/bin/bench-bare-server 0
start_peer node node bench/mock_server.js "${token[info]}"
token[bare]=${token[info]} token[node]=${token[info]}

measurements=()
for name in info silent bare node; do
    for request in read write refusal; do measurements+=("$name $request"); done
done
measurements+=("many-info read" "many-silent read")

echo "Warming up ..." >&2
for name in info silent many-info many-silent bare node; do wrk_run "$name" read 1 >/dev/null; done

for round in $(seq "$rounds"); do
    echo "Round $round of $rounds ..." >&2
    # Each round starts one step further along the list, so no server is always measured first.
    count=${#measurements[@]}
    for i in $(seq 0 $((count - 1))); do
        m=${measurements[$(((i + round - 1) % count))]}
        echo "wrk $m $(wrk_run $m "$seconds")" >>"$results"
    done
    for name in info silent; do
        read -r rate p50 p99 token[$name] < <(client pair-rounds "${port[$name]}" "$pair_seconds")
        echo "pair $name $rate $p50 $p99" >>"$results"
    done
done

for name in info silent many-info many-silent; do
    echo "rss $name $(rss_kb "${pid[$name]}")" >>"$results"
done
for name in bare node; do echo "rss $name $(rss_kb "${pid[$name]}")" >>"$results"; done

echo "Counting system calls ..." >&2
syscalls info
syscalls silent

if [ "$soak" = 1 ]; then
    echo "Soak: $soak_requests authorised reads with UPnP on ..." >&2
    start_ipc soak --upnp-port 0
    token[soak]=$(client pair "${port[soak]}")
    wrk_run soak read 2 >/dev/null
    echo "soak 0 $(rss_kb "${pid[soak]}")" >>"$results"
    sent=0
    while [ "$sent" -lt "$soak_requests" ]; do
        n=$(BENCH_BODY=$(read_body "${token[soak]}") wrk -t2 -c"$connections" -d10s \
            -s bench/jsonrpc.lua "http://127.0.0.1:${port[soak]}/" |
            awk '/requests in/ { print $1 }')
        sent=$((sent + n))
        echo "soak $sent $(rss_kb "${pid[soak]}")" >>"$results"
    done
fi

python3 bench/report.py "$results" "$seconds" "$rounds" "$connections"
