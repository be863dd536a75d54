# The lab's names, its failures, network namespaces and its record (lab.json).
import ctypes
import json
import os
import subprocess
import sys

# Namespace names start with the lab's name (--name), so two labs never share one. The other
# modules read them as common.PREFIX and so on, as name_lab changes them.
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


def bin_dir():
    """The launcher's folder: ipcontrold lies beside it, the resources in ../share/ipcontrol."""
    return os.path.dirname(os.path.realpath(sys.argv[0]))


def name_lab(name):
    global PREFIX, BRIDGE_NS, CLIENT_NS
    PREFIX = name + "-"
    BRIDGE_NS, CLIENT_NS = PREFIX + "bridge", PREFIX + "client"


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
        try:
            target = os.open("/run/netns/" + self.name, os.O_RDONLY)
        except FileNotFoundError:
            raise LabError("namespace %s is gone (ipcontrol-lab down removes what is left of "
                           "the lab)" % self.name)
        try:
            self.home = os.open("/proc/self/ns/net", os.O_RDONLY)
            if _libc.setns(target, CLONE_NEWNET) != 0:
                error = ctypes.get_errno()
                os.close(self.home)
                raise LabError("cannot enter namespace %s: %s" % (self.name, os.strerror(error)))
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
