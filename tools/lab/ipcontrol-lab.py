#!/usr/bin/python3
# ipcontrol-lab: a private network of virtual TVs in network namespaces on this machine.
"""Builds, runs and removes a lab of virtual TVs, each in a network namespace of its own.

Layout: one namespace holds a bridge; each TV namespace and one client namespace are joined
to it by a veth pair. Every address lives only inside the lab's namespaces; the host's
interfaces, routes and firewall are never touched. What the lab makes is written to
lab.json in its folder before it is made, so `down` can undo a lab whose maker crashed.
"""

import os
import sys

# The package lies beside the script in the source tree, in ../share/ipcontrol/lab once built
# or installed.
_here = os.path.dirname(os.path.realpath(sys.argv[0]))
sys.path[:0] = [_here, os.path.join(_here, "..", "share", "ipcontrol", "lab")]
sys.dont_write_bytecode = True  # nothing written beside the script

from ipclab.commands import main  # noqa: E402 (after the path is set)

if __name__ == "__main__":
    sys.exit(main())
