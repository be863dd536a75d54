#!/usr/bin/env bash
# Load benchmark: wrk against a running ipcontrold and, with the same settings, against a bare
# libmicrohttpd server that answers from a worker thread after suspend/resume.
# Usage: bench/run.sh [DURATION_SECONDS] [CONNECTIONS]
set -euo pipefail
cd "$(dirname "$0")/.."

duration=${1:-10}
connections=${2:-32}
threads=2

scripts/install-deps.sh
IPC_PACKAGES_FILE=bench/debian-packages.txt scripts/install-deps.sh
make build >/dev/null
cmake --build build --target bench-bare-server >/dev/null

free_port() { python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])'; }
wait_port() { for _ in $(seq 100); do (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null && return 0; sleep 0.1; done; return 1; }

# Runs wrk and prints "requests_per_second p50_ms p99_ms".
measure() {
    wrk -t"$threads" -c"$connections" -d"${duration}s" --latency -s bench/jsonrpc.lua \
        "http://127.0.0.1:$1/" | awk '
        function ms(v) { if (v ~ /us$/) return v / 1000; if (v ~ /ms$/) return v + 0; if (v ~ /s$/) return v * 1000; return v }
        /Requests\/sec/ { rps = $2 }
        $1 == "50%" { p50 = ms($2) }
        $1 == "99%" { p99 = ms($2) }
        END { printf "%.0f %.3f %.3f\n", rps, p50, p99 }'
}

data=$(mktemp -d)
trap 'kill $service $bare 2>/dev/null || true; rm -rf "$data"' EXIT

port=$(free_port)
build/bin/ipcontrold --data-dir "$data" --no-upnp --log-level silent --port "$port" &
service=$!
wait_port "$port"
read -r s_rps s_p50 s_p99 < <(measure "$port")
kill "$service"; wait "$service" || true

port=$(free_port)
build/bin/bench-bare-server "$port" &
bare=$!
wait_port "$port"
read -r b_rps b_p50 b_p99 < <(measure "$port")
kill "$bare"; wait "$bare" || true

printf '%-22s %12s %10s %10s\n' "server" "requests/s" "p50 ms" "p99 ms"
printf '%-22s %12s %10s %10s\n' "ipcontrold" "$s_rps" "$s_p50" "$s_p99"
printf '%-22s %12s %10s %10s\n' "bare libmicrohttpd" "$b_rps" "$b_p50" "$b_p99"
awk -v s="$s_rps" -v b="$b_rps" 'BEGIN { printf "ipcontrold / bare: %.2f of the throughput\n", s / b }'
