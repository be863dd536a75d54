#!/usr/bin/env python3
"""Small sequential JSON-RPC client for the benchmarks: pairing, fixed counts of requests,
readiness checks and a large paired-clients list. One request at a time on one kept-alive
connection, so that it can drive a daemon under strace or valgrind."""
import http.client
import json
import os
import random
import socket
import string
import sys
import time


def request(method, token=None, **params):
    if token is not None:
        params["AccessToken"] = token
    body = {"jsonrpc": "2.0", "method": method, "id": 1}
    if params:
        body["params"] = params
    return json.dumps(body, separators=(",", ":"))


def post(connection, body):
    connection.request("POST", "/", body, {"Content-Type": "application/json"})
    answer = connection.getresponse()
    return answer.status, answer.read()


def pair(connection):
    """Pairs through an on-screen approval answered by --approval allow; returns the token."""
    status, body = post(connection, request("createAccessToken"))
    if status != 200:
        raise SystemExit(f"pairing refused: HTTP {status} {body[:80]!r}")
    return json.loads(body)["result"]["AccessToken"]


def percentile(sorted_values, fraction):
    return sorted_values[min(len(sorted_values) - 1, int(fraction * len(sorted_values)))]


def cmd_pair(port):
    print(pair(http.client.HTTPConnection("127.0.0.1", int(port), timeout=60)))


def cmd_pair_rounds(port, seconds):
    """Pairs again and again for SECONDS; prints "round_trips_per_s p50_ms p99_ms token".
    A device that pairs again gets a new token, so the last one is handed back."""
    connection = http.client.HTTPConnection("127.0.0.1", int(port), timeout=60)
    latencies = []
    token = ""
    start = time.monotonic()
    while time.monotonic() - start < float(seconds):
        sent = time.monotonic()
        token = pair(connection)
        latencies.append((time.monotonic() - sent) * 1000)
    elapsed = time.monotonic() - start
    latencies.sort()
    print(f"{len(latencies) / elapsed:.2f} {percentile(latencies, 0.5):.1f} "
          f"{percentile(latencies, 0.99):.1f} {token}")


def cmd_send(port, count, body):
    """Posts BODY COUNT times, one after another; every answer must be HTTP 200."""
    connection = http.client.HTTPConnection("127.0.0.1", int(port), timeout=60)
    data = body.encode()
    for _ in range(int(count)):
        status, answer = post(connection, data)
        if status != 200:
            raise SystemExit(f"HTTP {status} {answer[:80]!r}")


def cmd_ready(port):
    """Exits 0 when the port answers a POST with an HTTP status."""
    try:
        post(http.client.HTTPConnection("127.0.0.1", int(port), timeout=2), b"{}")
    except OSError:
        sys.exit(1)


def cmd_listens(pid, port):
    """Exits 0 when process PID itself holds the listening socket of PORT on IPv4 or IPv6, so
    that a port taken meanwhile by another program is never measured."""
    inodes = set()
    for fd in os.listdir(f"/proc/{pid}/fd"):
        try:
            target = os.readlink(f"/proc/{pid}/fd/{fd}")
        except OSError:
            continue
        if target.startswith("socket:["):
            inodes.add(target[8:-1])
    for table in ("tcp", "tcp6"):
        with open(f"/proc/{pid}/net/{table}") as lines:
            next(lines)
            for line in lines:
                fields = line.split()
                local, state, inode = fields[1], fields[3], fields[9]
                if state == "0A" and int(local.rsplit(":", 1)[1], 16) == int(port) \
                        and inode in inodes:
                    return
    sys.exit(1)


def cmd_free_port():
    """Prints a port nothing listens on, below the range the kernel gives outgoing connections,
    so that only another program probing the same way can take it before the server binds."""
    with open("/proc/sys/net/ipv4/ip_local_port_range") as file:
        lowest_ephemeral = int(file.read().split()[0])
    for candidate in random.sample(range(10000, lowest_ephemeral), 100):
        with socket.socket() as probe:
            try:
                probe.bind(("127.0.0.1", candidate))
            except OSError:
                continue
        print(candidate)
        return
    raise SystemExit("no free port found")


def cmd_authlist(path, count):
    """Puts COUNT - 1 other paired clients in front of the records of the paired-clients file
    at PATH, so that the benchmark client's record comes last."""
    with open(path) as file:
        records = json.load(file) or []
    alphabet = string.ascii_letters + string.digits
    rng = random.Random(13)
    others = []
    for i in range(int(count) - len(records)):
        # Locally administered addresses of their own range, none equal to a loopback peer's.
        mac = ":".join(f"{b:02x}" for b in (0x06, 0x13, i >> 24 & 255, i >> 16 & 255,
                                                  i >> 8 & 255, i & 255))
        token = "".join(rng.choice(alphabet) for _ in range(49))
        others.append({"AccessToken": token, "MacAddr": mac, "AccessClass": 0})
    with open(path, "w") as file:
        json.dump(others + records, file, separators=(",", ":"))


COMMANDS = {
    "pair": cmd_pair,
    "pair-rounds": cmd_pair_rounds,
    "send": cmd_send,
    "ready": cmd_ready,
    "free-port": cmd_free_port,
    "listens": cmd_listens,
    "authlist": cmd_authlist,
}

if __name__ == "__main__":
    if len(sys.argv) < 2 or sys.argv[1] not in COMMANDS:
        raise SystemExit("usage: client.py " + "|".join(COMMANDS) + " ARGS...")
    COMMANDS[sys.argv[1]](*sys.argv[2:])
