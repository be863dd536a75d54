# The one forwarder process that joins each TV's screen on the host's loopback to the TV's
# admin server inside its namespace.
import os
import selectors
import signal
import socket
import subprocess
import sys

from . import common
from .common import ADMIN_PORT, InNetns, Lab, LabError


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
                try:
                    with InNetns(tv["netns"]):
                        upstream = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
                except LabError as e:  # the other TVs' screens stay forwarded
                    sys.stderr.write("%s: %s\n" % (tv["name"], e))
                    client.close()
                    continue
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
               common.PREFIX[:-1], "_forward"]
    child = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                             start_new_session=True)
    log.close()
    lab.data["forwarder"] = child.pid
