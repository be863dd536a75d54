#!/usr/bin/python3
# ipcontrol-lab: a private network of virtual TVs in network namespaces on this machine.
"""Builds, runs and removes a lab of virtual TVs, each in a network namespace of its own.

Layout: one namespace holds a bridge; each TV namespace and one client namespace are joined
to it by a veth pair. Every address lives only inside the lab's namespaces; the host's
interfaces, routes and firewall are never touched. What the lab makes is written to
lab.json in its folder before it is made, so `down` can undo a lab whose maker crashed.
"""

import argparse
import ctypes
import http.client
import ipaddress
import json
import os
import selectors
import signal
import socket
import subprocess
import sys
import time

# Namespace names start with the lab's name (--name), so two labs never share one.
PREFIX = "ipclab-"
BRIDGE_NS = PREFIX + "bridge"
CLIENT_NS = PREFIX + "client"
BRIDGE = "br0"
DEFAULT_NAME = "ipclab"
DEFAULT_DIR = "/run/ipcontrol-lab/"  # + the lab's name
DEFAULT_SUBNET = "10.77.0.0/16"
DEFAULT_ADMIN_BASE = 28500
ADMIN_PORT = 8515  # the daemon's admin port inside each TV namespace
FIRST_TV_HOST = 10  # host numbers below are the client's and spare
READY_TIMEOUT = 120.0
CLONE_NEWNET = 0x40000000

EXIT_OK, EXIT_FAILED, EXIT_USAGE, EXIT_NOT_ROOT, EXIT_NO_LAB = 0, 1, 2, 3, 4


class LabError(Exception):
    """A failure with the sentence to print and the exit code."""

    def __init__(self, message, code=EXIT_FAILED):
        super().__init__(message)
        self.code = code


# ---- namespaces -------------------------------------------------------------------------

_libc = ctypes.CDLL(None, use_errno=True)


class InNetns:
    """Runs a block with this thread in another network namespace; sockets made inside
    stay there after the block."""

    def __init__(self, name):
        self.name = name
        self.home = None

    def __enter__(self):
        self.home = os.open("/proc/self/ns/net", os.O_RDONLY)
        target = os.open("/run/netns/" + self.name, os.O_RDONLY)
        try:
            if _libc.setns(target, CLONE_NEWNET) != 0:
                raise LabError("cannot enter namespace %s: %s"
                               % (self.name, os.strerror(ctypes.get_errno())))
        finally:
            os.close(target)
        return self

    def __exit__(self, *exc):
        _libc.setns(self.home, CLONE_NEWNET)
        os.close(self.home)
        return False


def run(args, stdin_text=None, check=True):
    done = subprocess.run(args, input=stdin_text, capture_output=True, text=True)
    if check and done.returncode != 0:
        raise LabError("%s: %s" % (" ".join(args[:6]), done.stderr.strip() or "failed"))
    return done


def ip_batch(commands, netns=None):
    """Several ip commands in one process (one per line)."""
    if not commands:
        return
    args = ["ip"] + (["-n", netns] if netns else []) + ["-batch", "-"]
    run(args, "\n".join(commands) + "\n")


def lab_namespaces():
    listing = run(["ip", "netns", "list"], check=False).stdout
    names = [line.split()[0] for line in listing.splitlines() if line.split()]
    # Exactly this lab's: a lab named "a" must not take "a-b-tv001" of a lab named "a-b".
    return [name for name in names if name in (BRIDGE_NS, CLIENT_NS)
            or (name.startswith(PREFIX + "tv") and name[len(PREFIX) + 2:].isdigit())]


# ---- the record -------------------------------------------------------------------------

class Lab:
    """The lab's folder and its record (lab.json): namespaces, processes, TVs."""

    def __init__(self, folder):
        self.folder = folder
        self.path = os.path.join(folder, "lab.json")
        self.data = {"namespaces": [], "tvs": [], "forwarder": None}

    def exists(self):
        return os.path.exists(self.path)

    def load(self):
        try:
            with open(self.path) as f:
                self.data = json.load(f)
        except FileNotFoundError:
            raise LabError("no lab is up in %s (start one with: ipcontrol-lab up N)"
                           % self.folder, EXIT_NO_LAB)
        except (OSError, ValueError) as e:
            raise LabError("the lab's record %s is unreadable: %s" % (self.path, e))
        return self

    def save(self):
        os.makedirs(self.folder, mode=0o700, exist_ok=True)
        temporary = self.path + ".tmp"
        with open(temporary, "w") as f:
            json.dump(self.data, f, indent=1)
            f.flush()
            os.fsync(f.fileno())
        os.replace(temporary, self.path)

    def tv(self, name):
        for tv in self.data["tvs"]:
            if name in (tv["name"], tv["address"]):
                return tv
        names = [tv["name"] for tv in self.data["tvs"]]
        shown = names[:3] + ["..."] if len(names) > 3 else names
        raise LabError("no TV %s in the lab (%s)" % (name, ", ".join(shown)), EXIT_USAGE)


# ---- profiles ---------------------------------------------------------------------------

def resource_dir():
    here = os.path.dirname(os.path.realpath(sys.argv[0]))
    return os.path.normpath(os.path.join(here, "..", "share", "ipcontrol"))


def load_profiles():
    folder = os.path.join(resource_dir(), "profiles")
    profiles = {}
    try:
        names = sorted(os.listdir(folder))
    except OSError as e:
        raise LabError("cannot read the profiles in %s: %s" % (folder, e.strerror))
    for entry in names:
        if entry.endswith(".json"):
            with open(os.path.join(folder, entry)) as f:
                year = json.load(f)["featureconf"]["product.tv_year"]
            profiles[entry[:-5]] = 1515 if year <= 19 else 1516
    return profiles


def share_profiles(count, requests, known):
    """Profile per TV from NAME, NAME:COUNT and NAME:PERCENT% requests: counts and percents
    (rounded down) first, the rest shared evenly among plain names, else among the percents
    (all known profiles share the lab when none is given)."""
    fixed, open_names = [], []
    for request in requests:
        name, _, amount = request.partition(":")
        if name not in known:
            raise LabError("unknown profile %s (%s)" % (name, ", ".join(sorted(known))), EXIT_USAGE)
        if not amount:
            open_names.append(name)
            continue
        try:
            percent = amount.endswith("%")
            number = float(amount[:-1]) if percent else int(amount)
        except ValueError:
            number = -1
        if number < 0 or (percent and number > 100):
            raise LabError("--profile %s: give NAME, NAME:COUNT or NAME:PERCENT%%" % request,
                           EXIT_USAGE)
        fixed.append([name, int(number * count / 100) if percent else number, percent])
    if not requests:
        open_names = sorted(known)
    rest = count - sum(entry[1] for entry in fixed)
    sharers = open_names or [entry for entry in fixed if entry[2]]
    if rest < 0 or (rest > 0 and not sharers):
        raise LabError("the profiles add up to %d TVs, not %d" % (count - rest, count),
                       EXIT_USAGE)
    result = []
    for i, name in enumerate(open_names):
        share = rest // len(open_names) + (1 if i < rest % len(open_names) else 0)
        result += [name] * share
    if not open_names:
        for i in range(rest):  # what rounding down left, one more each
            sharers[i % len(sharers)][1] += 1
    return [name for name, n, _ in fixed for _ in range(n)] + result


# ---- daemons ----------------------------------------------------------------------------

def daemon_path():
    return os.path.join(os.path.dirname(os.path.realpath(sys.argv[0])), "ipcontrold")


def process_is(pid, word):
    try:
        with open("/proc/%d/cmdline" % pid, "rb") as f:
            return word.encode() in f.read()
    except OSError:
        return False


def start_daemon(lab, tv, notify_path):
    tv_dir = os.path.join(lab.folder, tv["name"])
    os.makedirs(os.path.join(tv_dir, "data"), mode=0o700, exist_ok=True)
    env = dict(os.environ, NOTIFY_SOCKET=notify_path)
    env.pop("JOURNAL_STREAM", None)
    log = open(os.path.join(tv_dir, "log"), "ab")
    command = ["ip", "netns", "exec", tv["netns"], daemon_path(),
               "--data-dir", os.path.join(tv_dir, "data"), "--profile", tv["profile"],
               "--approval", lab.data["approval"], "--admin-port", str(ADMIN_PORT)]
    child = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                             env=env, start_new_session=True)
    log.close()
    tv["pid"] = child.pid  # ip netns exec becomes the daemon, so this is its pid
    return child


def open_notify_socket(lab):
    path = os.path.join(lab.folder, "notify.sock")
    try:
        os.unlink(path)
    except FileNotFoundError:
        pass
    sock = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    sock.setsockopt(socket.SOL_SOCKET, socket.SO_PASSCRED, 1)
    sock.bind(path)
    return sock, path


def pidfds(pids):
    """A pidfd per process still there: readable once it has ended, whoever its parent is."""
    fds = {}
    for pid in pids:
        try:
            fds[pid] = os.pidfd_open(pid)
        except ProcessLookupError:
            pass
    return fds


def wait_ready(sock, children, timeout):
    """Reads READY=1 datagrams (the sender's pid from its credentials) until every child has
    sent one; returns the pids that did not: ended first, or out of time."""
    deadline = time.monotonic() + timeout
    waiting, failed = set(children), set()
    selector = selectors.DefaultSelector()
    selector.register(sock, selectors.EVENT_READ, None)
    fds = pidfds(children)
    for pid, fd in fds.items():
        selector.register(fd, selectors.EVENT_READ, pid)
    failed |= waiting - set(fds)
    waiting &= set(fds)
    while waiting and time.monotonic() < deadline:
        for key, _ in selector.select(deadline - time.monotonic()):
            if key.data is not None:  # a daemon that ended will never be ready
                selector.unregister(key.fileobj)
                if key.data in waiting:
                    waiting.discard(key.data)
                    failed.add(key.data)
                continue
            message, ancillary, _, _ = sock.recvmsg(4096, socket.CMSG_SPACE(12))
            for level, kind, data in ancillary:
                if level == socket.SOL_SOCKET and kind == socket.SCM_CREDENTIALS:
                    if b"READY=1" in message.split(b"\n"):
                        waiting.discard(int.from_bytes(data[0:4], sys.byteorder))
    selector.close()
    for fd in fds.values():
        os.close(fd)
    return failed | waiting


def wait_gone(pids, timeout):
    """Waits until the processes have ended; returns those still running at the timeout."""
    fds = pidfds(pids)
    selector = selectors.DefaultSelector()
    for pid, fd in fds.items():
        selector.register(fd, selectors.EVENT_READ, pid)
    deadline = time.monotonic() + timeout
    running = set(fds)
    while running and time.monotonic() < deadline:
        for key, _ in selector.select(deadline - time.monotonic()):
            selector.unregister(key.fileobj)
            running.discard(key.data)
    selector.close()
    for fd in fds.values():
        os.close(fd)
    return running


def stop_pids(pids, word, grace=5.0):
    """SIGTERM, then SIGKILL after grace seconds; only processes whose command line holds word
    (a recorded pid may belong to another program by now)."""
    alive = [pid for pid in pids if pid and process_is(pid, word)]
    for pid in alive:
        try:
            os.kill(pid, signal.SIGTERM)
        except ProcessLookupError:
            pass
    stubborn = wait_gone(alive, grace)
    for pid in stubborn:
        try:
            os.kill(pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
    wait_gone(stubborn, grace)


# ---- probing ----------------------------------------------------------------------------

def answering(tvs, timeout=1.0):
    """Which TVs accept a TCP connection on their JSON-RPC port, seen from the client."""
    selector = selectors.DefaultSelector()
    result = {tv["name"]: False for tv in tvs}
    with InNetns(CLIENT_NS):
        for tv in tvs:
            sock = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
            sock.setblocking(False)
            sock.connect_ex((tv["address"], tv["port"]))
            selector.register(sock, selectors.EVENT_WRITE, tv["name"])
    deadline = time.monotonic() + timeout
    while selector.get_map() and time.monotonic() < deadline:
        for key, _ in selector.select(max(0.0, deadline - time.monotonic())):
            result[key.data] = key.fileobj.getsockopt(socket.SOL_SOCKET, socket.SO_ERROR) == 0
            selector.unregister(key.fileobj)
            key.fileobj.close()
    for key in list(selector.get_map().values()):
        key.fileobj.close()
    return result


def admin_request(tv, method, path, body):
    with InNetns(tv["netns"]):
        connection = http.client.HTTPConnection("127.0.0.1", ADMIN_PORT, timeout=5)
        try:
            connection.request(method, path, json.dumps(body),
                               {"Content-Type": "application/json"})
            reply = connection.getresponse()
            return reply.status, reply.read().decode(errors="replace")
        except OSError as e:
            return None, e.strerror or str(e)
        finally:
            connection.close()


def name_tvs(tvs):
    """Gives each TV its lab name as its device name, so discovery and --tv tell them apart."""
    for tv in tvs:
        status, text = admin_request(tv, "PUT", "/api/settings/deviceName", tv["name"])
        if status != 200:
            raise LabError("%s: cannot set its name: %s" % (tv["name"], text.strip()))


# ---- the admin forwarder ----------------------------------------------------------------

def forward(folder):
    """One process in the host namespace: a listening socket on 127.0.0.1 per TV, each
    connection joined to that TV's admin port inside its namespace."""
    lab = Lab(folder).load()
    selector = selectors.DefaultSelector()
    for tv in lab.data["tvs"]:
        listener = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        try:
            listener.bind(("127.0.0.1", tv["adminPort"]))
        except OSError as e:
            sys.stderr.write("%s: 127.0.0.1:%d: %s\n" % (tv["name"], tv["adminPort"], e.strerror))
            listener.close()
            continue
        listener.listen(16)
        listener.setblocking(False)
        selector.register(listener, selectors.EVENT_READ, ("listen", tv))
    pairs = {}

    def close(sock):
        peer = pairs.pop(sock, None)
        for s in (sock, peer):
            if s is not None:
                pairs.pop(s, None)
                try:
                    selector.unregister(s)
                except (KeyError, ValueError):
                    pass
                s.close()

    signal.signal(signal.SIGTERM, lambda *_: sys.exit(0))
    while True:
        for key, _ in selector.select():
            kind, tv = key.data
            if kind == "listen":
                try:
                    client, _ = key.fileobj.accept()
                except OSError:
                    continue
                with InNetns(tv["netns"]):
                    upstream = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
                upstream.settimeout(2)
                try:
                    upstream.connect(("127.0.0.1", ADMIN_PORT))
                except OSError:
                    client.close()
                    upstream.close()
                    continue
                for s in (client, upstream):
                    s.setblocking(False)
                    selector.register(s, selectors.EVENT_READ, ("data", tv))
                pairs[client], pairs[upstream] = upstream, client
                continue
            try:
                chunk = key.fileobj.recv(65536)
            except BlockingIOError:
                continue
            except OSError:
                chunk = b""
            peer = pairs.get(key.fileobj)
            if not chunk or peer is None:
                close(key.fileobj)
                continue
            try:
                # A reader that stops reading would hold every screen: it gets 5 s.
                peer.settimeout(5)
                peer.sendall(chunk)
                peer.setblocking(False)
            except OSError:
                close(key.fileobj)


def start_forwarder(lab):
    log = open(os.path.join(lab.folder, "forwarder.log"), "ab")
    command = [sys.executable, os.path.realpath(sys.argv[0]), "--dir", lab.folder, "--name",
               PREFIX[:-1], "_forward"]
    child = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                             start_new_session=True)
    log.close()
    lab.data["forwarder"] = child.pid


# ---- commands ---------------------------------------------------------------------------

def cmd_up(options):
    lab = Lab(options.dir)
    if lab.exists() or lab_namespaces():
        raise LabError("a lab is already up (ipcontrol-lab status; remove it with ipcontrol-lab down)",
                       EXIT_NO_LAB)
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
                     "client": {"netns": CLIENT_NS, "address": str(hosts[0])},
                     "namespaces": [BRIDGE_NS, CLIENT_NS], "startedAt": time.time()})
    for i, profile in enumerate(assigned):
        number = i + 1
        lab.data["tvs"].append({
            "name": "tv%03d" % number, "netns": "%stv%03d" % (PREFIX, number),
            "address": str(hosts[FIRST_TV_HOST + i]), "mac": "02:1a:b0:%02x:%02x:%02x"
            % (number >> 16 & 0xff, number >> 8 & 0xff, number & 0xff), "profile": profile,
            "port": profiles[profile], "adminPort": options.admin_base + number, "pid": None})
        lab.data["namespaces"].append("%stv%03d" % (PREFIX, number))
    lab.save()  # written before anything is made, so down finds all of it

    prefix = subnet.prefixlen
    ip_batch(["netns add %s" % ns for ns in lab.data["namespaces"]])
    bridge = ["link add %s type bridge mcast_snooping 0" % BRIDGE, "link set %s up" % BRIDGE,
              "link set lo up"]
    ends = [("client", CLIENT_NS, lab.data["client"]["address"], "02:1a:b0:ff:ff:01")]
    ends += [(tv["name"], tv["netns"], tv["address"], tv["mac"]) for tv in lab.data["tvs"]]
    for name, netns, _, _ in ends:
        bridge.append("link add v-%s type veth peer name eth0 netns %s" % (name, netns))
        bridge.append("link set v-%s master %s up" % (name, BRIDGE))
    ip_batch(bridge, BRIDGE_NS)
    for name, netns, address, mac in ends:
        # The default route through the bridge carries SSDP multicast (239.255.255.250).
        ip_batch(["link set lo up", "link set eth0 address %s" % mac,
                  "addr add %s/%d dev eth0" % (address, prefix), "link set eth0 up",
                  "route add default dev eth0"], netns)

    notify, notify_path = open_notify_socket(lab)
    children = {}
    for tv in lab.data["tvs"]:
        child = start_daemon(lab, tv, notify_path)
        children[child.pid] = child
    if options.admin_base:
        start_forwarder(lab)
    lab.save()
    failed = wait_ready(notify, children, READY_TIMEOUT)
    notify.close()
    if not failed:
        name_tvs(lab.data["tvs"])
    elapsed = time.monotonic() - started
    if failed:
        names = [tv["name"] for tv in lab.data["tvs"] if tv["pid"] in failed]
        raise LabError("%d of %d TVs did not start: %s (see ipcontrol-lab logs %s; the others "
                       "run: ipcontrol-lab down removes the lab)"
                       % (len(names), len(assigned), " ".join(names), names[0]))
    counts = {}
    for profile in assigned:
        counts[profile] = counts.get(profile, 0) + 1
    print("%d TVs ready in %.1f s (%s) on %s; client namespace %s at %s"
          % (len(assigned), elapsed, ", ".join("%d %s" % (n, p) for p, n in sorted(counts.items())),
             subnet, CLIENT_NS, lab.data["client"]["address"]))
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
          % (sum(r["answering"] for r in rows), len(rows), CLIENT_NS, lab.data["client"]["address"],
             "" if forwarding else "; screens not forwarded (up --admin-base 0, or the "
             "forwarder stopped: see forwarder.log)"))
    return EXIT_OK


def cmd_exec(options):
    command = options.argv[1:] if options.argv[:1] == ["--"] else options.argv
    if not command:
        raise LabError("exec needs a command: ipcontrol-lab exec -- ipcontrol discover", EXIT_USAGE)
    Lab(options.dir).load()
    os.execvp("ip", ["ip", "netns", "exec", CLIENT_NS] + command)


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
    failed = wait_ready(notify, {child.pid: child}, READY_TIMEOUT)
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
    options = parser().parse_args()
    global PREFIX, BRIDGE_NS, CLIENT_NS
    if not options.name.replace("-", "").isalnum() or len(options.name) > 20:
        sys.stderr.write("ipcontrol-lab: --name takes up to 20 letters, digits and dashes\n")
        return EXIT_USAGE
    PREFIX = options.name + "-"
    BRIDGE_NS, CLIENT_NS = PREFIX + "bridge", PREFIX + "client"
    options.dir = options.dir or DEFAULT_DIR + options.name
    handlers = {"up": cmd_up, "down": cmd_down, "status": cmd_status, "exec": cmd_exec,
                "logs": cmd_logs, "knob": cmd_knob, "power-cut": cmd_power_cut}
    if options.command is None:
        parser().print_help()
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


if __name__ == "__main__":
    sys.exit(main())
