#!/usr/bin/env python3
"""Prints the table of bench/run.sh from its results file: medians over the rounds, the ratios
to the two peers, and the targets of the default log level as met or not met.
Usage: report.py RESULTS SECONDS ROUNDS CONNECTIONS"""
import statistics
import sys
from collections import defaultdict

MIB = 1024  # /proc reports kB (KiB)
SERVERS = {
    "info": "ipcontrold (info, default)",
    "silent": "ipcontrold (silent)",
    "bare": "bare libmicrohttpd",
    "node": "Node mock",
    "many-info": "ipcontrold 10,000 clients (info)",
    "many-silent": "ipcontrold 10,000 clients (silent)",
}

path, seconds, rounds, connections = sys.argv[1:5]
wrk = defaultdict(list)
pairing = defaultdict(list)
rss, syscalls, soak = {}, {}, []
for fields in (line.split() for line in open(path)):
    kind, rest = fields[0], fields[1:]
    if kind == "wrk":
        wrk[rest[0], rest[1]].append([float(v) for v in rest[2:]])
    elif kind == "pair":
        pairing[rest[0]].append([float(v) for v in rest[1:]])
    elif kind == "rss":
        rss[rest[0]] = int(rest[1])
    elif kind == "syscalls":
        syscalls[rest[0]] = int(rest[1]) / int(rest[2])
    elif kind == "soak":
        soak.append((int(rest[0]), int(rest[1])))


def median(samples, column):
    return statistics.median(sample[column] for sample in samples)


def rps(name, request):
    return median(wrk[name, request], 0)


def p99(name, request):
    return median(wrk[name, request], 2)


print(f"\n{rounds} interleaved rounds of {seconds} s, wrk -t2 -c{connections} on loopback; "
      "medians over the rounds\n")
print(f"{'request':<9} {'server':<36} {'requests/s':>10} {'p50 ms':>8} {'p99 ms':>8} "
      f"{'/ Node':>7} {'/ bare':>7}")
warnings = []
for request in ("read", "write", "refusal"):
    for name in SERVERS:
        samples = wrk.get((name, request))
        if not samples:
            continue
        ratios = ""
        if name not in ("bare", "node"):
            ratios = (f"{rps(name, request) / rps('node', request):6.2f}x "
                      f"{rps(name, request) / rps('bare', request):6.2f}x")
        print(f"{request:<9} {SERVERS[name]:<36} {rps(name, request):>10,.0f} "
              f"{median(samples, 1):>8.3f} {median(samples, 2):>8.3f} {ratios}")
        # A read or write that was refused measured the refusal instead.
        refused = sum(s[3] for s in samples) if request != "refusal" and name != "bare" else 0
        errors = sum(s[4] for s in samples)
        if refused or errors:
            warnings.append(f"{request} on {SERVERS[name]}: {refused:.0f} answers not 2xx, "
                            f"{errors:.0f} socket errors (timeouts count)")
for name, samples in pairing.items():
    print(f"{'pairing':<9} {SERVERS[name]:<36} {median(samples, 0):>10.2f} "
          f"{median(samples, 1):>8.1f} {median(samples, 2):>8.1f}  round trips/s, sequential")

print("\nRSS after the load: " +
      ", ".join(f"{SERVERS[n]} {kb / MIB:.1f} MiB" for n, kb in rss.items()))
print("System calls per authorised read (strace -f -c, sequential client): " +
      ", ".join(f"{SERVERS[n]} {v:.1f}" for n, v in syscalls.items()))
cost = {level: rps(level, "read") / rps("many-" + level, "read") for level in ("info", "silent")}
print(f"10,000 paired clients cost per authorised read vs one: info {cost['info']:.2f}x, "
      f"silent {cost['silent']:.2f}x")
if soak:
    print(f"Soak with UPnP on: RSS {soak[0][1] / MIB:.1f} MiB after warming up, "
          f"{soak[-1][1] / MIB:.1f} MiB after {soak[-1][0]:,} authorised reads, "
          f"{max(kb for _, kb in soak) / MIB:.1f} MiB at the most ({len(soak)} samples)")


def target(met, text):
    print(f"  [{'met' if met else 'NOT met':>7}] {text}")


read = rps("info", "read")
print("\nTargets (default log level):")
target(read >= rps("node", "read"),
       f"authorised read >= 1.0x the Node mock's throughput: {read / rps('node', 'read'):.2f}x")
target(read >= 0.5 * rps("bare", "read"),
       f"authorised read >= 0.5x the bare server's throughput: {read / rps('bare', 'read'):.2f}x")
target(p99("info", "read") <= p99("node", "read"),
       f"authorised read p99 no worse than the Node mock's: {p99('info', 'read'):.3f} ms vs "
       f"{p99('node', 'read'):.3f} ms")
target(syscalls["info"] <= 12,
       f"at most 12 system calls per authorised request: {syscalls['info']:.1f}")
target(rps("silent", "read") <= 1.1 * read,
       f"silent no more than 10% faster than the default level: "
       f"{rps('silent', 'read') / read:.2f}x")
if soak:
    before, after = soak[0][1], soak[-1][1]
    target(after <= 17 * MIB and after - before <= MIB,
           f"RSS at most 17 MiB with UPnP on, flat (growth <= 1 MiB) over {soak[-1][0]:,} "
           f"requests: {before / MIB:.1f} -> {after / MIB:.1f} MiB")
else:
    print("  [    n/a] RSS at most 17 MiB with UPnP on, flat over 1M requests: run with --soak")
target(cost["info"] <= 1.1,
       f"10,000 paired clients cost at most 1.1x one client's: {cost['info']:.2f}x "
       f"(silent: {cost['silent']:.2f}x)")
target(read >= 0.8 * rps("node", "read"),
       f"resolve threshold, authorised read >= 0.8x the Node mock's: "
       f"{read / rps('node', 'read'):.2f}x")
for warning in warnings:
    print("warning: " + warning)
