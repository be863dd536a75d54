# The lab's commands and its command line.
import argparse
import ipaddress
import json
import os
import signal
import subprocess
import sys
import time

from . import common
from .common import (BRIDGE, DEFAULT_ADMIN_BASE, DEFAULT_DIR, DEFAULT_NAME, DEFAULT_SUBNET,
                     EXIT_FAILED, EXIT_NO_LAB, EXIT_NOT_ROOT, EXIT_OK, EXIT_USAGE, FIRST_TV_HOST,
                     READY_TIMEOUT, Lab, LabError, ip_batch, lab_namespaces, run)
from .daemons import (admin_request, answering, daemon_path, name_tvs, open_notify_socket,
                      process_is, start_daemon, stop_pids, wait_gone, wait_ready)
from .forwarder import forward, start_forwarder
from .profiles import load_profiles, share_profiles


def cmd_up(options):
    lab = Lab(options.dir)
    if lab.exists() or lab_namespaces():
        raise LabError("a lab is already up (ipcontrol-lab status; remove it with "
                       "ipcontrol-lab down)", EXIT_NO_LAB)
    if options.count < 1:
        raise LabError("up needs a number of TVs, 1 or more", EXIT_USAGE)
    try:
        subnet = ipaddress.ip_network(options.subnet)
    except ValueError as e:
        raise LabError("--subnet: %s" % e, EXIT_USAGE)
    if subnet.version != 4 or subnet.num_addresses < FIRST_TV_HOST + options.count + 2:
        raise LabError("--subnet %s has no room for %d TVs (an IPv4 network is needed)"
                       % (subnet, options.count), EXIT_USAGE)
    if options.approval not in ("screen", "allow", "deny", "ignore"):
        raise LabError("--approval takes screen, allow, deny or ignore", EXIT_USAGE)
    if not os.access(daemon_path(), os.X_OK):
        raise LabError("no daemon at %s (build it first: make build)" % daemon_path())
    profiles = load_profiles()
    assigned = share_profiles(options.count, options.profile, profiles)
    hosts = list(subnet.hosts())
    started = time.monotonic()

    lab.data.update({"subnet": str(subnet), "approval": options.approval,
                     "client": {"netns": common.CLIENT_NS, "address": str(hosts[0])},
                     "namespaces": [common.BRIDGE_NS, common.CLIENT_NS], "startedAt": time.time()})
    for i, profile in enumerate(assigned):
        number = i + 1
        lab.data["tvs"].append({
            "name": "tv%03d" % number, "netns": "%stv%03d" % (common.PREFIX, number),
            "address": str(hosts[FIRST_TV_HOST + i]), "mac": "02:1a:b0:%02x:%02x:%02x"
            % (number >> 16 & 0xff, number >> 8 & 0xff, number & 0xff), "profile": profile,
            "port": profiles[profile], "adminPort": options.admin_base + number, "pid": None})
        lab.data["namespaces"].append(lab.data["tvs"][-1]["netns"])
    lab.save()  # written before anything is made, so down finds all of it

    prefix = subnet.prefixlen
    ip_batch(["netns add %s" % ns for ns in lab.data["namespaces"]])
    bridge = ["link add %s type bridge mcast_snooping 0" % BRIDGE, "link set %s up" % BRIDGE,
              "link set lo up"]
    ends = [("client", common.CLIENT_NS, lab.data["client"]["address"], "02:1a:b0:ff:ff:01")]
    ends += [(tv["name"], tv["netns"], tv["address"], tv["mac"]) for tv in lab.data["tvs"]]
    for name, netns, _, _ in ends:
        bridge.append("link add v-%s type veth peer name eth0 netns %s" % (name, netns))
        bridge.append("link set v-%s master %s up" % (name, BRIDGE))
    ip_batch(bridge, common.BRIDGE_NS)
    for name, netns, address, mac in ends:
        # The default route through the bridge carries SSDP multicast (239.255.255.250).
        ip_batch(["link set lo up", "link set eth0 address %s" % mac,
                  "addr add %s/%d dev eth0" % (address, prefix), "link set eth0 up",
                  "route add default dev eth0"], netns)

    notify, notify_path = open_notify_socket(lab)
    for tv in lab.data["tvs"]:
        start_daemon(lab, tv, notify_path)
    if options.admin_base:
        start_forwarder(lab)
    lab.save()
    failed = wait_ready(notify, [tv["pid"] for tv in lab.data["tvs"]], READY_TIMEOUT)
    notify.close()
    if failed:
        names = [tv["name"] for tv in lab.data["tvs"] if tv["pid"] in failed]
        raise LabError("%d of %d TVs did not start: %s (see ipcontrol-lab logs %s; the others "
                       "run: ipcontrol-lab down removes the lab)"
                       % (len(names), len(assigned), " ".join(names), names[0]))
    name_tvs(lab.data["tvs"])
    elapsed = time.monotonic() - started
    counts = {}
    for profile in assigned:
        counts[profile] = counts.get(profile, 0) + 1
    print("%d TVs ready in %.1f s (%s) on %s; client namespace %s at %s"
          % (len(assigned), elapsed, ", ".join("%d %s" % (n, p) for p, n in sorted(counts.items())),
             subnet, common.CLIENT_NS, lab.data["client"]["address"]))
    return EXIT_OK


def cmd_down(options):
    lab = Lab(options.dir)
    recorded = lab.exists()
    if recorded:
        try:
            lab.load()
        except LabError:
            recorded = False
    namespaces = set(lab.data.get("namespaces", [])) | set(lab_namespaces())
    if not recorded and not namespaces:
        print("no lab is up")
        return EXIT_OK
    stop_pids([lab.data.get("forwarder")], "_forward")
    stop_pids([tv.get("pid") for tv in lab.data.get("tvs", [])], "ipcontrold")
    # Anything else still inside a lab namespace (a daemon started by hand, a client left over).
    for ns in namespaces:
        pids = run(["ip", "netns", "pids", ns], check=False).stdout.split()
        stop_pids([int(p) for p in pids], "", grace=2.0)
    existing = set(lab_namespaces())
    ip_batch(["netns del %s" % ns for ns in sorted(namespaces & existing)])
    if recorded:
        for entry in os.listdir(lab.folder):
            path = os.path.join(lab.folder, entry)
            if os.path.isdir(path):
                subprocess.run(["rm", "-rf", "--one-file-system", path], check=False)
            else:
                os.unlink(path)
        os.rmdir(lab.folder)
        try:  # the folder of all labs, when this was the last
            if lab.folder.startswith(DEFAULT_DIR):
                os.rmdir(DEFAULT_DIR)
        except OSError:
            pass
    print("lab removed: %d namespaces, %d TVs" % (len(namespaces), len(lab.data.get("tvs", []))))
    return EXIT_OK


def cmd_status(options):
    lab = Lab(options.dir).load()
    tvs = lab.data["tvs"]
    up = answering(tvs)
    rows = []
    for tv in tvs:
        alive = bool(tv["pid"]) and process_is(tv["pid"], "ipcontrold")
        rows.append({"name": tv["name"], "address": tv["address"], "mac": tv["mac"],
                     "profile": tv["profile"], "port": tv["port"],
                     "pid": tv["pid"] if alive else None, "answering": up[tv["name"]],
                     "admin": "http://127.0.0.1:%d/" % tv["adminPort"]})
    forwarder = lab.data.get("forwarder")
    forwarding = bool(forwarder) and process_is(forwarder, "_forward")
    if options.json:
        print(json.dumps({"subnet": lab.data["subnet"], "client": lab.data["client"],
                          "adminForwarder": forwarding, "tvs": rows}, indent=1))
        return EXIT_OK
    print("%-7s %-15s %-17s %-8s %-5s %-8s %-9s %s"
          % ("TV", "ADDRESS", "MAC", "PROFILE", "PORT", "PID", "ANSWERING", "SCREEN"))
    for row in rows:
        print("%-7s %-15s %-17s %-8s %-5d %-8s %-9s %s"
              % (row["name"], row["address"], row["mac"], row["profile"], row["port"],
                 row["pid"] or "-", "yes" if row["answering"] else "no",
                 row["admin"] if forwarding else "-"))
    print("%d of %d answering; client namespace %s at %s%s"
          % (sum(r["answering"] for r in rows), len(rows), common.CLIENT_NS,
             lab.data["client"]["address"],
             "" if forwarding else "; screens not forwarded (up --admin-base 0, or the "
             "forwarder stopped: see forwarder.log)"))
    return EXIT_OK


def cmd_exec(options):
    command = options.argv[1:] if options.argv[:1] == ["--"] else options.argv
    if not command:
        raise LabError("exec needs a command: ipcontrol-lab exec -- ipcontrol discover", EXIT_USAGE)
    Lab(options.dir).load()
    os.execvp("ip", ["ip", "netns", "exec", common.CLIENT_NS] + command)


def cmd_logs(options):
    lab = Lab(options.dir).load()
    tv = lab.tv(options.tv)
    with open(os.path.join(lab.folder, tv["name"], "log"), "rb") as f:
        sys.stdout.buffer.write(f.read())
    return EXIT_OK


KNOB_ALIASES = {"latency": "latencyMs", "jitter": "jitterMs", "reboot": "rebootMs"}


def knob_body(settings):
    """NAME=VALUE words into the knobs object; restart is the TV's own reboot."""
    knobs, restart = {}, False
    for setting in settings:
        name, sep, value = setting.partition("=")
        if not sep and name != "restart":
            raise LabError("knob %s: give NAME=VALUE (latency=200 jitter=50 failNext=3 "
                           "failNext=3:-32002 restart)" % setting, EXIT_USAGE)
        if name == "restart":
            restart = True
            continue
        name = KNOB_ALIASES.get(name, name)
        if name == "failNext":
            count, _, error = value.partition(":")
            try:
                knobs[name] = {"count": int(count)}
                if error:
                    knobs[name]["error"] = abs(int(error))
            except ValueError:
                raise LabError("failNext takes COUNT or COUNT:ERROR", EXIT_USAGE)
            continue
        try:
            knobs[name] = json.loads(value)
        except ValueError:
            knobs[name] = value
    return knobs, restart


def cmd_knob(options):
    lab = Lab(options.dir).load()
    knobs, restart = knob_body(options.settings)
    tvs = lab.data["tvs"] if options.tv == "all" else [lab.tv(options.tv)]
    failed = 0
    for tv in tvs:
        results = []
        if knobs:
            results.append(admin_request(tv, "PUT", "/api/tv/knobs", knobs))
        if restart:
            results.append(admin_request(tv, "PUT", "/api/tv/power", "reboot"))
        bad = [(status, text) for status, text in results if status != 200]
        if bad:
            failed += 1
            print("%s: failed: %s" % (tv["name"], bad[0][1].strip()))
        elif len(tvs) == 1:
            print("%s: %s" % (tv["name"], results[0][1].strip()))
    print("%d done, %d failed" % (len(tvs) - failed, failed))
    return EXIT_FAILED if failed else EXIT_OK


def cmd_power_cut(options):
    lab = Lab(options.dir).load()
    tv = lab.tv(options.tv)
    if tv["pid"] and process_is(tv["pid"], "ipcontrold"):
        os.kill(tv["pid"], signal.SIGKILL)
        wait_gone([tv["pid"]], 10.0)
    print("%s: power cut for %g s" % (tv["name"], options.seconds), flush=True)
    time.sleep(options.seconds)
    notify, notify_path = open_notify_socket(lab)
    child = start_daemon(lab, tv, notify_path)
    lab.save()
    failed = wait_ready(notify, [child.pid], READY_TIMEOUT)
    notify.close()
    if failed:
        raise LabError("%s did not start again (ipcontrol-lab logs %s)" % (tv["name"], tv["name"]))
    print("%s: back (pid %d)" % (tv["name"], child.pid))
    return EXIT_OK


def parser():
    top = argparse.ArgumentParser(
        prog="ipcontrol-lab",
        description="A lab of virtual TVs, each its own host in a private network of namespaces "
                    "(needs root).",
        epilog="Exit codes: 0 done, 1 failed, 2 usage, 3 not root, 4 no lab up / a lab is "
               "already up.")
    top.add_argument("--name", default=DEFAULT_NAME,
                     help="the lab's name, the start of its namespaces' names (default "
                     "%(default)s); labs of other names run beside it")
    top.add_argument("--dir", default=os.environ.get("IPCONTROL_LAB_DIR"),
                     help="the lab's folder: record, data directories, logs (default "
                     + DEFAULT_DIR + "NAME)")
    commands = top.add_subparsers(dest="command", metavar="COMMAND")
    up = commands.add_parser("up", help="create the network and start N TVs")
    up.add_argument("count", type=int, metavar="N")
    up.add_argument("--profile", action="append", default=[], metavar="NAME[:COUNT|:PERCENT%]",
                    help="profiles to use (repeatable; default: all, shared evenly)")
    up.add_argument("--approval", default="allow",
                    help="how pairing is answered: allow (default), screen, deny, ignore")
    up.add_argument("--subnet", default=DEFAULT_SUBNET, help="IPv4 network inside the lab "
                    "(default %(default)s)")
    up.add_argument("--admin-base", type=int, default=DEFAULT_ADMIN_BASE,
                    help="TV n's screen is on 127.0.0.1:BASE+n of the host (default %(default)s; "
                    "0: not forwarded)")
    commands.add_parser("down", help="stop every TV and remove everything the lab made")
    status = commands.add_parser("status", help="each TV: address, MAC, profile, port, pid, "
                                 "answering, screen address")
    status.add_argument("--json", action="store_true")
    run_in = commands.add_parser("exec", help="run a command in the client namespace")
    run_in.add_argument("argv", nargs=argparse.REMAINDER, metavar="-- COMMAND")
    logs = commands.add_parser("logs", help="print a TV's log")
    logs.add_argument("tv", metavar="TV")
    knob = commands.add_parser("knob", help="set test knobs: latency=MS jitter=MS "
                               "failNext=COUNT[:ERROR] restart ...")
    knob.add_argument("tv", metavar="TV|all")
    knob.add_argument("settings", nargs="+", metavar="NAME=VALUE")
    cut = commands.add_parser("power-cut", help="SIGKILL a TV's daemon, start it again after "
                              "--for seconds (default 3)")
    cut.add_argument("tv", metavar="TV")
    cut.add_argument("--for", dest="seconds", type=float, default=3.0, metavar="SECONDS")
    commands.add_parser("_forward")
    return top


def main():
    arguments = parser()
    options = arguments.parse_args()
    if not options.name.replace("-", "").isalnum() or len(options.name) > 20:
        sys.stderr.write("ipcontrol-lab: --name takes up to 20 letters, digits and dashes\n")
        return EXIT_USAGE
    common.name_lab(options.name)
    options.dir = options.dir or DEFAULT_DIR + options.name
    handlers = {"up": cmd_up, "down": cmd_down, "status": cmd_status, "exec": cmd_exec,
                "logs": cmd_logs, "knob": cmd_knob, "power-cut": cmd_power_cut}
    if options.command is None:
        arguments.print_help()
        return EXIT_USAGE
    if os.geteuid() != 0:
        sys.stderr.write("ipcontrol-lab: needs root (network namespaces): run it with sudo\n")
        return EXIT_NOT_ROOT
    if options.command == "_forward":
        forward(options.dir)
        return EXIT_OK
    try:
        return handlers[options.command](options)
    except LabError as e:
        sys.stderr.write("ipcontrol-lab: %s\n" % e)
        return e.code
    except BrokenPipeError:  # the reader (head, grep -q) has had enough
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return EXIT_OK
    except OSError as e:
        sys.stderr.write("ipcontrol-lab: %s\n" % e)
        return EXIT_FAILED
