#!/usr/bin/env python3
"""Slow-connection flood against one port of ipcontrold (or any HTTP server), measured by the
latency of a client from another address.

N connections from M source addresses (127.0.1.1 .. 127.0.1.M) each send a request header that
never ends, one byte now and then, and reconnect at once when the server cuts them. Meanwhile a
probe from another address opens a new connection every INTERVAL, sends a complete request and
times the whole answer. Latencies are reported before, during and after the attack.

  bench/flood.py --kind admin 127.0.0.1:8515
  bench/flood.py --daemon build/bin/ipcontrold              # all three ports, fresh daemon each

Run on demand, never in `make test`. Python 3 standard library only.
"""
import argparse
import heapq
import http.client
import multiprocessing
import os
import re
import resource
import selectors
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

KINDS = ("jsonrpc", "admin", "upnp")
DEFAULT_PATHS = {"jsonrpc": "/", "admin": "/api/state", "upnp": "/"}
IP_BIND_ADDRESS_NO_PORT = 24  # <linux/in.h>: pick the source port at connect, per 4-tuple
PROBE_TIMEOUT = 10.0
JSONRPC_BODY = b'{"jsonrpc":"2.0","id":1,"method":"powerControl","params":{}}'


def raise_descriptor_limit(wanted):
    soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    if soft != resource.RLIM_INFINITY and soft < wanted:
        new = wanted if hard == resource.RLIM_INFINITY else min(wanted, hard)
        resource.setrlimit(resource.RLIMIT_NOFILE, (new, hard))
        if new < wanted:
            print(f"warning: only {new} descriptors (hard limit); fewer connections stay open",
                  file=sys.stderr)


def bound_socket(source):
    sock = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    sock.setsockopt(socket.IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, 1)
    sock.bind((source, 0))
    return sock


# ---- the attacker: one process, one selector, N sockets ----

class Slot:
    __slots__ = ("sock", "source", "sent", "connected", "generation")

    def __init__(self, source):
        self.source = source
        self.sock = None
        self.sent = 0
        self.connected = False
        self.generation = 0


def attack(target, sources, count, text, trickle, reconnect_delay, stop, stats):
    """stats: shared array [open, connects, closed by the server, failed to connect]."""
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    selector = selectors.DefaultSelector()
    slots = [Slot(sources[i % len(sources)]) for i in range(count)]
    due = []  # (time, slot index, generation, what): what is "send" or "open"
    opened = 0

    def open_slot(index):
        slot = slots[index]
        slot.generation += 1
        slot.sent = 0
        slot.connected = False
        try:
            slot.sock = bound_socket(slot.source)
            slot.sock.setblocking(False)
            slot.sock.connect_ex(target)
            selector.register(slot.sock, selectors.EVENT_WRITE, index)
        except OSError:
            # Out of ports or descriptors for the moment: try again shortly.
            if slot.sock is not None:
                slot.sock.close()
                slot.sock = None
            stats[3] += 1
            heapq.heappush(due, (time.monotonic() + 0.05, index, slot.generation, "open"))

    def drop(index):
        slot = slots[index]
        if slot.sock is not None:
            selector.unregister(slot.sock)
            slot.sock.close()
            slot.sock = None
        if slot.connected:
            stats[0] -= 1
            stats[2] += 1
        else:
            stats[3] += 1
        slot.generation += 1
        if reconnect_delay > 0:
            heapq.heappush(due, (time.monotonic() + reconnect_delay, index, slot.generation,
                                 "open"))
        else:
            open_slot(index)

    def send_byte(index):
        slot = slots[index]
        try:
            slot.sock.send(text[slot.sent:slot.sent + 1] if slot.sent < len(text) else b"a")
        except OSError:
            drop(index)
            return
        slot.sent += 1
        # Spread the sends so that the server does not see them in bursts.
        heapq.heappush(due, (time.monotonic() + trickle * (0.5 + (index * 7919 % 1000) / 1000),
                             index, slot.generation, "send"))

    start = time.monotonic()
    while not stop.is_set():
        # Open the connections over the first second rather than in one burst of SYNs.
        while opened < count and opened < count * (time.monotonic() - start + 0.01):
            open_slot(opened)
            opened += 1
        timeout = 0.05
        if due:
            timeout = max(0.0, min(timeout, due[0][0] - time.monotonic()))
        for key, mask in selector.select(timeout):
            index = key.data
            slot = slots[index]
            if not slot.connected:
                error = slot.sock.getsockopt(socket.SOL_SOCKET, socket.SO_ERROR)
                if error != 0:
                    drop(index)
                    continue
                slot.connected = True
                stats[0] += 1
                stats[1] += 1
                selector.modify(slot.sock, selectors.EVENT_READ, index)
                send_byte(index)
                continue
            try:
                data = slot.sock.recv(4096)
            except OSError:
                data = b""
            if not data:
                drop(index)
            # An answer (408, 503 ...) is read away; the close follows.
        now = time.monotonic()
        while due and due[0][0] <= now:
            _, index, generation, what = heapq.heappop(due)
            if slots[index].generation != generation:
                continue
            if what == "open":
                open_slot(index)
            elif slots[index].sock is not None:
                send_byte(index)
    for slot in slots:
        if slot.sock is not None:
            slot.sock.close()


# ---- the probe ----

def probe_once(host, port, source, kind, path):
    """Seconds for one complete request on a new connection, or the name of the error that came
    instead of an answer."""
    started = time.monotonic()
    connection = http.client.HTTPConnection(host, port, timeout=PROBE_TIMEOUT,
                                            source_address=(source, 0))
    try:
        headers = {"Host": "127.0.0.1", "Connection": "close"}
        if kind == "jsonrpc":
            headers["Content-Type"] = "application/json"
            connection.request("POST", path, JSONRPC_BODY, headers)
        else:
            connection.request("GET", path, headers=headers)
        answer = connection.getresponse()
        answer.read()
        return time.monotonic() - started
    except (OSError, http.client.HTTPException) as error:
        return type(error).__name__
    finally:
        connection.close()


def percentile(values, fraction):
    return values[min(len(values) - 1, int(fraction * len(values)))]


class Phase:
    def __init__(self, name):
        self.name = name
        self.latencies = []
        self.failures = 0
        self.errors = {}
        self.open_samples = []

    def summary(self):
        if not self.latencies:
            return f"{self.name:>7}: no answer ({self.failures} failed: {self.errors})"
        values = sorted(self.latencies)
        failed = f" ({', '.join(f'{n} {e}' for e, n in self.errors.items())})" if self.errors else ""
        text = (f"{self.name:>7}: {len(values)} answers, {self.failures} failed{failed}; "
                f"p50 {percentile(values, 0.5) * 1000:.1f} ms, "
                f"p99 {percentile(values, 0.99) * 1000:.1f} ms, max {values[-1] * 1000:.1f} ms")
        if self.open_samples:
            text += (f"; slow connections open {min(self.open_samples)}..{max(self.open_samples)}"
                     f" (median {sorted(self.open_samples)[len(self.open_samples) // 2]})")
        return text

    def worst_ms(self):
        if self.failures or not self.latencies:
            return None
        return max(self.latencies) * 1000


def run_probes(phase, seconds, args, host, port, stats=None):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        sent = time.monotonic()
        latency = probe_once(host, port, args.client_address, args.kind, args.path)
        if isinstance(latency, str):
            phase.failures += 1
            phase.errors[latency] = phase.errors.get(latency, 0) + 1
        else:
            phase.latencies.append(latency)
        if stats is not None:
            phase.open_samples.append(stats[0])
        time.sleep(max(0.0, args.interval - (time.monotonic() - sent)))


def measure(args, host, port):
    """Runs before / during / after; returns the phases and the attacker's counts."""
    sources = [f"127.0.1.{i}" for i in range(1, args.addresses + 1)]
    method = "POST" if args.kind == "jsonrpc" else "GET"
    text = f"{method} {args.path} HTTP/1.1\r\nHost: 127.0.0.1\r\nX-Filler: ".encode()
    before, during, after = Phase("before"), Phase("during"), Phase("after")
    run_probes(before, args.before, args, host, port)

    # open, connects, closed by the server, failed to connect
    stats = multiprocessing.Array("q", 4, lock=False)
    stop = multiprocessing.Event()
    attacker = multiprocessing.Process(
        target=attack, args=((host, port), sources, args.connections, text, args.trickle,
                             args.reconnect_delay, stop, stats))
    attacker.start()
    started = time.monotonic()
    try:
        run_probes(during, args.seconds, args, host, port, stats)
    finally:
        stop.set()
        attacker.join(10)
        if attacker.is_alive():
            attacker.kill()
            attacker.join()
    elapsed = time.monotonic() - started
    run_probes(after, args.after, args, host, port)
    counts = {"connects": stats[1], "closed": stats[2], "errors": stats[3], "seconds": elapsed}
    return (before, during, after), counts


def report(label, phases, counts):
    print(f"== {label}")
    for phase in phases:
        print("  " + phase.summary())
    print(f"  attacker: {counts['connects']} connections made "
          f"({counts['connects'] / counts['seconds']:.0f}/s), {counts['closed']} closed by the "
          f"server, {counts['errors']} failed to connect, over {counts['seconds']:.1f} s")
    during, after = phases[1].worst_ms(), phases[2].worst_ms()
    met = during is not None and after is not None and during < 1000 and after < 1000
    print(f"  target (every answer within 1 s during and after): {'met' if met else 'NOT met'}")
    return met


# ---- --daemon: start ipcontrold, measure each port on a fresh one ----

PORT_LINES = {
    "jsonrpc": re.compile(r"JSON-RPC server listening on port (\d+)"),
    "admin": re.compile(r"admin API on http://127\.0\.0\.1:(\d+)/"),
    "upnp": re.compile(r"UPnP description server on 127\.0\.0\.1:(\d+)"),
}


def start_daemon(binary, extra, workdir, nofile):
    data = os.path.join(workdir, "data")
    log = open(os.path.join(workdir, "daemon.log"), "w+b")
    command = [binary, "--port", "0", "--admin-port", "0", "--upnp-port", "0",
               "--data-dir", data, "--approval", "deny"] + extra

    def limit_descriptors():
        resource.setrlimit(resource.RLIMIT_NOFILE,
                           (nofile, resource.getrlimit(resource.RLIMIT_NOFILE)[1]))

    process = subprocess.Popen(command, stdout=log, stderr=subprocess.STDOUT,
                               preexec_fn=limit_descriptors)
    deadline = time.monotonic() + 30
    while time.monotonic() < deadline:
        log.seek(0)
        text = log.read().decode(errors="replace")
        ports = {kind: pattern.search(text) for kind, pattern in PORT_LINES.items()}
        if all(ports.values()):
            udn = re.search(r"udn:uuid:([0-9a-f-]+)", text)
            return process, {kind: int(m.group(1)) for kind, m in ports.items()}, udn, log
        if process.poll() is not None:
            break
        time.sleep(0.1)
    process.kill()
    process.wait()
    log.seek(0)
    raise SystemExit("ipcontrold did not report its ports:\n" + log.read().decode()[-2000:])


def stop_daemon(process):
    process.send_signal(signal.SIGTERM)
    try:
        process.wait(15)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


def run_daemon_mode(args, nofile):
    rows = []
    for kind in args.kinds.split(","):
        workdir = tempfile.mkdtemp(prefix="ipc-flood-")
        process = None
        try:
            process, ports, udn, log = start_daemon(args.daemon, args.daemon_args, workdir, nofile)
            args.kind = kind
            args.path = DEFAULT_PATHS[kind]
            if kind == "upnp":
                if udn is None:
                    raise SystemExit("no device UDN in the daemon's log")
                args.path = f"/{udn.group(1)}.xml"
            phases, counts = measure(args, "127.0.0.1", ports[kind])
            descriptors = len(os.listdir(f"/proc/{process.pid}/fd"))
            met = report(f"{kind} port {ports[kind]} {args.path} "
                         f"(daemon holds {descriptors} descriptors after)", phases, counts)
            rows.append((kind, phases, counts, met))
        finally:
            if process is not None:
                stop_daemon(process)
            shutil.rmtree(workdir, ignore_errors=True)
    print()
    print("| port | before p50 / max ms | during p50 / p99 / max ms | after p50 / max ms "
          "| failed | slow open (median) | connects/s | target |")
    print("|---|---|---|---|---|---|---|---|")
    for kind, (before, during, after), counts, met in rows:
        def cell(phase, parts):
            if not phase.latencies:
                return "-"
            values = sorted(phase.latencies)
            picks = {"p50": percentile(values, 0.5), "p99": percentile(values, 0.99),
                     "max": values[-1]}
            return " / ".join(f"{picks[p] * 1000:.0f}" for p in parts)
        opened = sorted(during.open_samples)
        print(f"| {kind} | {cell(before, ('p50', 'max'))} | {cell(during, ('p50', 'p99', 'max'))}"
              f" | {cell(after, ('p50', 'max'))} | {during.failures + after.failures} "
              f"| {opened[len(opened) // 2] if opened else '-'} "
              f"| {counts['connects'] / counts['seconds']:.0f} | {'met' if met else 'not met'} |")
    return all(row[3] for row in rows)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("target", nargs="?", help="HOST:PORT (not with --daemon)")
    parser.add_argument("--kind", choices=KINDS, default="admin",
                        help="what the probe sends: a JSON-RPC POST, GET /api/state, GET PATH")
    parser.add_argument("--path", help="the probe's path (default by kind; the UPnP "
                        "description is /UUID.xml)")
    parser.add_argument("--daemon", metavar="IPCONTROLD",
                        help="start this ipcontrold with ports 0 and measure each port")
    parser.add_argument("--kinds", default=",".join(KINDS), help="ports for --daemon")
    parser.add_argument("--daemon-nofile", type=int, default=1024,
                        help="the daemon's descriptor limit, which sizes its connection limits "
                        "(default 1024, a service's soft limit)")
    parser.add_argument("--daemon-args", nargs=argparse.REMAINDER, default=[],
                        help="more options for the daemon (last)")
    parser.add_argument("--connections", type=int, default=1000)
    parser.add_argument("--addresses", type=int, default=32)
    parser.add_argument("--client-address", default="127.0.2.1")
    parser.add_argument("--seconds", type=float, default=20, help="length of the attack")
    parser.add_argument("--before", type=float, default=2)
    parser.add_argument("--after", type=float, default=5)
    parser.add_argument("--interval", type=float, default=0.2, help="between probes")
    parser.add_argument("--trickle", type=float, default=1.0,
                        help="seconds between the bytes of a slow connection (about)")
    parser.add_argument("--reconnect-delay", type=float, default=0.0)
    args = parser.parse_args()
    if not 1 <= args.addresses <= 254:
        parser.error("--addresses is 1..254")
    raise_descriptor_limit(args.connections + 256)
    if args.daemon:
        return 0 if run_daemon_mode(args, args.daemon_nofile) else 1
    if not args.target or ":" not in args.target:
        parser.error("give HOST:PORT or --daemon")
    host, port = args.target.rsplit(":", 1)
    args.path = args.path or DEFAULT_PATHS[args.kind]
    phases, counts = measure(args, host, int(port))
    return 0 if report(f"{args.kind} {args.target}{args.path}", phases, counts) else 1


if __name__ == "__main__":
    sys.exit(main())
