#!/usr/bin/env bash
# The lab's targets: up N ready, RSS and idle CPU of the N daemons, discover, pair --all then a
# command on all, and down leaving nothing. Usage (as root, from the repository root):
#   bench/lab.sh [N]         (default 100; the release tree build/ must be built: make build)
set -euo pipefail

count=${1:-100}
name=labbench
folder=$(mktemp -d)
lab=(build/bin/ipcontrol-lab --name "$name" --dir "$folder/lab")
client=("${lab[@]}" exec -- env XDG_CONFIG_HOME="$folder/client" build/bin/ipcontrol)

[ "$(id -u)" = 0 ] || { echo "bench/lab.sh: needs root (network namespaces)" >&2; exit 3; }
[ -x build/bin/ipcontrold ] && [ -x build/bin/ipcontrol-lab ] ||
    { echo "bench/lab.sh: build the release tree first (make build)" >&2; exit 1; }

cleanup() {
    "${lab[@]}" down >/dev/null 2>&1 || true
    rm -rf "$folder"
}
trap cleanup EXIT

now() { date +%s.%N; }
since() { python3 -c 'import sys, time; print("%.1f" % (time.time() - float(sys.argv[1])))' "$1"; }
links() { ip -o link | cut -d: -f2 | sort; }

links_before=$(links)
start=$(now)
"${lab[@]}" up "$count" --admin-base 0 >"$folder/up.txt"
up_seconds=$(since "$start")
pids=$("${lab[@]}" status --json | python3 -c '
import json, sys
print(" ".join(str(tv["pid"]) for tv in json.load(sys.stdin)["tvs"] if tv["pid"]))')
answering=$("${lab[@]}" status --json | python3 -c '
import json, sys
print(sum(tv["answering"] for tv in json.load(sys.stdin)["tvs"]))')

rss_kib=0
for p in $pids; do
    rss_kib=$((rss_kib + $(awk '/^VmRSS/ {print $2}' "/proc/$p/status")))
done

# Idle CPU: the daemons' user and system time over 20 s, against one core, once the start-up
# announcements are over (a daemon repeats its SSDP announcements in its first seconds).
sleep 10
ticks() {
    local total=0 p
    for p in $pids; do
        total=$((total + $(awk '{print $14 + $15}' "/proc/$p/stat")))
    done
    echo "$total"
}
idle_window=20
before=$(ticks)
sleep "$idle_window"
after=$(ticks)
idle_percent=$(python3 -c 'import sys; a, b, hz, w = map(float, sys.argv[1:]); print("%.2f" % ((b - a) * 100 / hz / w))' \
    "$before" "$after" "$(getconf CLK_TCK)" "$idle_window")

start=$(now)
found=$("${client[@]}" --json discover --timeout 4 | python3 -c '
import json, sys
print(len(json.load(sys.stdin)))')
discover_seconds=$(since "$start")

start=$(now)
"${client[@]}" pair --all >"$folder/pair.txt" || true
pair_seconds=$(since "$start")
"${client[@]}" --tv all volume 20 >"$folder/volume.txt" || true
pair_volume_seconds=$(since "$start")

start=$(now)
"${lab[@]}" down >/dev/null
down_seconds=$(since "$start")
left_namespaces=$(ip netns list | grep -c "^$name-" || true)
left_links=$(diff <(echo "$links_before") <(links) | grep -c '^[<>]' || true)
left_processes=0
for p in $pids; do
    [ -e "/proc/$p" ] && [ "$(awk '{print $3}' "/proc/$p/stat" 2>/dev/null)" != Z ] &&
        left_processes=$((left_processes + 1))
done
left_mounts=$(grep -c "$folder" /proc/mounts || true)

echo "lab of $count TVs ($(cut -d'(' -f2 "$folder/up.txt" | cut -d')' -f1))"
printf '%-48s %s\n' \
    "up $count: ready (every TV answering)" "$up_seconds s, $answering answering (target < 60 s)" \
    "RSS of the $count daemons" "$((rss_kib / 1024)) MiB (target < 2048 MiB)" \
    "idle CPU of the $count daemons, ${idle_window} s" "$idle_percent % of one core (target < 5 %)" \
    "discover --timeout 4 (search, describe, probe)" "$found found in $discover_seconds s (target $count within 5 s)" \
    "pair --all" "$pair_seconds s: $(tail -1 "$folder/pair.txt")" \
    "pair --all then volume 20 --tv all" "$pair_volume_seconds s: $(tail -1 "$folder/volume.txt") (target < 10 s)" \
    "down" "$down_seconds s; left: $left_namespaces namespaces, $left_links links, $left_processes processes, $left_mounts mounts"
