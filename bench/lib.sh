# Shell helpers of the benchmark scripts (sourced from the repository root): a work folder and
# every process started removed on exit, daemons started and recognised, request bodies.

work=$(mktemp -d)
declare -A pid port token
pids=()
# The daemon command; profile.sh puts valgrind in front of it.
ipcontrold=(build/bin/ipcontrold)
# Tenths of a second a daemon may take to listen (valgrind needs far longer).
listen_tries=200

cleanup() {
    local p
    for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done
    for p in "${pids[@]}"; do
        for _ in $(seq 50); do kill -0 "$p" 2>/dev/null || break; sleep 0.1; done
        kill -KILL "$p" 2>/dev/null || true
    done
    wait 2>/dev/null || true
    rm -rf "$work"
}
set -o errtrace
trap cleanup EXIT
trap 'echo "$0: line $LINENO: $BASH_COMMAND failed (status $?)" >&2' ERR
trap 'exit 130' INT TERM

# build_daemon TREE [CMAKE_OPTION...]: installs what is missing and builds in TREE, with the
# flags of `make build`, what the daemon needs at run time (TREE/bin/ipcontrold) and the
# benchmark's own server.
build_daemon() {
    local tree=$1; shift
    scripts/install-deps.sh
    IPC_PACKAGES_FILE=bench/debian-packages.txt scripts/install-deps.sh
    cmake -S . -B "$tree" -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
    cmake --build "$tree" -j "$(nproc)" --target ipcontrold ipcontrol-plugin ipcontrol-data \
        ipcontrol-locale ipcontrol-web bench-bare-server >/dev/null
}

client() { python3 bench/client.py "$@"; }
free_port() { client free-port; }
rss_kb() { awk '/^VmRSS/ { print $2 }' "/proc/$1/status"; }

read_body() { printf '{"jsonrpc":"2.0","method":"powerControl","id":1,"params":{"AccessToken":"%s"}}' "$1"; }
write_body() { printf '{"jsonrpc":"2.0","method":"directVolumeControl","id":1,"params":{"volume":20,"AccessToken":"%s"}}' "$1"; }

# start_ipc NAME [OPTION...]: an ipcontrold with its own data directory, pairing answered by
# the policy; sets pid[NAME] and port[NAME]. The JSON-RPC port cannot be 0, so a free port is
# probed (below the range of outgoing connections, which would otherwise take it); the daemon counts as started only once it holds that port's listening socket itself,
# and another port is tried otherwise. stderr goes through a pipe that keeps the first lines and
# reads the rest away, as a journal would: the log costs what it costs under a service manager.
start_ipc() {
    local name=$1; shift
    mkdir -p "$work/$name"
    local attempt p daemon
    for attempt in 1 2 3; do
        p=$(free_port)
        "${ipcontrold[@]}" --data-dir "$work/$name" --port "$p" --admin-port 0 \
            --approval allow "$@" 2> >(head -n 200 >"$work/$name.log"; cat >/dev/null) &
        daemon=$!
        pids+=("$daemon")
        for _ in $(seq "$listen_tries"); do
            kill -0 "$daemon" 2>/dev/null || break
            if client listens "$daemon" "$p" 2>/dev/null && client ready "$p"; then
                pid[$name]=$daemon port[$name]=$p
                return 0
            fi
            sleep 0.1
        done
        kill "$daemon" 2>/dev/null || true
        wait "$daemon" 2>/dev/null || true
        echo "$0: $name did not listen on port $p (attempt $attempt); its last lines:" >&2
        tail -n 5 "$work/$name.log" >&2
    done
    exit 1
}

stop_ipc() {
    kill "${pid[$1]}"
    wait "${pid[$1]}" || true
}
