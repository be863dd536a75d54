#!/usr/bin/python3
# A lab of five TVs of three profiles: discovery, pairing and a command on all, a power cut,
# and nothing left behind. Needs root and ip netns; exit code 77 means skipped.
import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

BIN = sys.argv.pop(1) if len(sys.argv) > 1 else os.path.join(os.getcwd(), "bin")
LAB_NAME = "labtest%d" % os.getpid()
PORTS = {"tv-2019": 1515, "wall": 1516, "tv-2023": 1516}


def skip_reason():
    if os.geteuid() != 0:
        return "needs root for network namespaces"
    if shutil.which("ip") is None:
        return "ip (iproute2) is not installed"
    probe = subprocess.run(["ip", "netns", "list"], capture_output=True, text=True)
    if probe.returncode != 0:
        return "ip netns does not work here: " + probe.stderr.strip()
    return None


class LabOfFiveTvs(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.mkdtemp(prefix="ipclab-test-")
        cls.env = dict(os.environ, XDG_CONFIG_HOME=os.path.join(cls.folder, "client"))
        cls.links_before = cls.host_links()
        up = cls.lab("up", "5", "--profile", "tv-2019:2", "--profile", "wall:1",
                     "--profile", "tv-2023", "--admin-base", "0")
        if up.returncode != 0:
            cls.lab("down")
            raise AssertionError("up failed: " + up.stderr)

    @classmethod
    def tearDownClass(cls):
        cls.lab("down")
        shutil.rmtree(cls.folder, ignore_errors=True)

    @classmethod
    def lab(cls, *args, timeout=180):
        return subprocess.run([os.path.join(BIN, "ipcontrol-lab"), "--name", LAB_NAME, "--dir",
                               os.path.join(cls.folder, "lab")] + list(args),
                              capture_output=True, text=True, env=cls.env, timeout=timeout)

    @classmethod
    def client(cls, *args):
        return cls.lab("exec", "--", os.path.join(BIN, "ipcontrol"), *args, timeout=120)

    @staticmethod
    def host_links():
        out = subprocess.run(["ip", "-o", "link"], capture_output=True, text=True).stdout
        return {line.split(":")[1].strip().split("@")[0] for line in out.splitlines()}

    def status(self):
        done = self.lab("status", "--json")
        self.assertEqual(0, done.returncode, done.stderr)
        return {tv["name"]: tv for tv in json.loads(done.stdout)["tvs"]}

    def test_a_lab_from_discovery_to_down(self):
        tvs = self.status()
        self.assertEqual(5, len(tvs))
        self.assertTrue(all(tv["answering"] for tv in tvs.values()), tvs)

        # Each TV is its own host: its own address, its port by model year, its own MAC.
        found = self.client("--json", "discover", "--timeout", "3")
        self.assertEqual(0, found.returncode, found.stderr)
        listed = {tv["name"]: tv for tv in json.loads(found.stdout)}
        self.assertEqual(sorted(tvs), sorted(listed))
        for name, tv in tvs.items():
            self.assertEqual(tv["address"], listed[name]["address"])
            self.assertEqual(tv["mac"], listed[name]["mac"])
            self.assertEqual(PORTS[tv["profile"]], listed[name]["port"])
        self.assertEqual({tv["mac"] for tv in tvs.values()},
                         {tv["mac"] for tv in listed.values()})
        self.assertEqual(5, len({tv["mac"] for tv in listed.values()}))

        paired = self.client("pair", "--all")
        self.assertEqual(0, paired.returncode, paired.stdout + paired.stderr)
        self.assertIn("5 done, 0 failed", paired.stdout)
        volume = self.client("--tv", "all", "volume", "20")
        self.assertEqual(0, volume.returncode, volume.stdout + volume.stderr)
        self.assertEqual(6, len(volume.stdout.strip().splitlines()))
        walls = self.client("--tv", "profile:wall", "--json", "power", "off")
        self.assertEqual(1, json.loads(walls.stdout)["done"], walls.stdout + walls.stderr)

        # After a power cut the TV comes back with its paired clients: the token still works.
        victim = next(name for name, tv in tvs.items() if tv["profile"] == "tv-2019")
        old_pid = tvs[victim]["pid"]
        cut = self.lab("power-cut", victim, "--for", "0.5")
        self.assertEqual(0, cut.returncode, cut.stderr)
        self.assertNotEqual(old_pid, self.status()[victim]["pid"])
        again = self.client("--tv", victim, "volume")
        self.assertEqual(0, again.returncode, again.stdout + again.stderr)
        self.assertIn("Volume 20", again.stdout)

        pids = [tv["pid"] for tv in self.status().values()]
        down = self.lab("down")
        self.assertEqual(0, down.returncode, down.stderr)
        spaces = subprocess.run(["ip", "netns", "list"], capture_output=True, text=True).stdout
        self.assertNotIn(LAB_NAME, spaces)
        self.assertEqual(self.links_before, self.host_links())
        for pid in pids:
            try:
                with open("/proc/%d/stat" % pid) as f:
                    state = f.read().rsplit(")", 1)[1].split()[0]
            except OSError:
                continue
            self.assertEqual("Z", state, "pid %d still runs" % pid)
        self.assertFalse(os.path.exists(os.path.join(self.folder, "lab")))


if __name__ == "__main__":
    reason = skip_reason()
    if reason:
        print("skipped: " + reason)
        sys.exit(77)
    unittest.main(verbosity=2)
