# The TVs' daemons: starting them, waiting for their readiness or their end, stopping them,
# and probing them from inside their namespaces.
import http.client
import json
import os
import selectors
import signal
import socket
import subprocess
import sys
import time

from . import common
from .common import ADMIN_PORT, InNetns, LabError, bin_dir


def daemon_path():
    return os.path.join(bin_dir(), "ipcontrold")


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


def wait_ready(sock, pids, timeout):
    """Reads READY=1 datagrams (the sender's pid from its credentials) until every daemon has
    sent one; returns the pids that did not: ended first, or out of time."""
    deadline = time.monotonic() + timeout
    waiting, failed = set(pids), set()
    selector = selectors.DefaultSelector()
    selector.register(sock, selectors.EVENT_READ, None)
    fds = pidfds(pids)
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
    stubborn = wait_gone(_signal(alive, signal.SIGTERM), grace)
    wait_gone(_signal(stubborn, signal.SIGKILL), grace)


def _signal(pids, number):
    """Sends the signal to each process; returns the pids, those already gone included."""
    for pid in pids:
        try:
            os.kill(pid, number)
        except ProcessLookupError:
            pass
    return pids


# ---- probing ----------------------------------------------------------------------------

def answering(tvs, timeout=1.0):
    """Which TVs accept a TCP connection on their JSON-RPC port, seen from the client."""
    selector = selectors.DefaultSelector()
    result = {tv["name"]: False for tv in tvs}
    with InNetns(common.CLIENT_NS):
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
    """The reply's status and body; for a refusal the body's error text when it has one, for
    no reply None and the reason."""
    with InNetns(tv["netns"]):
        connection = http.client.HTTPConnection("127.0.0.1", ADMIN_PORT, timeout=5)
        try:
            connection.request(method, path, json.dumps(body),
                               {"Content-Type": "application/json"})
            reply = connection.getresponse()
            text = reply.read().decode(errors="replace")
            if reply.status != 200:
                try:
                    text = json.loads(text)["error"]
                except (ValueError, KeyError, TypeError):
                    pass
            return reply.status, text
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
