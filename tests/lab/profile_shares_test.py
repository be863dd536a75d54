#!/usr/bin/python3
# How ipcontrol-lab up shares N TVs among the profiles asked for (no root needed).
import collections
import os
import sys
import unittest

sys.dont_write_bytecode = True  # nothing written into the source tree
sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "tools", "lab"))
from ipclab import common as lab  # noqa: E402 (after the path is set)
from ipclab.profiles import share_profiles  # noqa: E402
KNOWN = {"tv-2019": 1515, "tv-2023": 1516, "wall": 1516}


def shares(count, *requests):
    return dict(collections.Counter(share_profiles(count, list(requests), KNOWN)))


class ProfileShares(unittest.TestCase):
    def test_counts_and_percents_first_then_the_rest_evenly(self):
        self.assertEqual({"tv-2019": 1, "tv-2023": 1, "wall": 1}, shares(3))
        self.assertEqual({"tv-2019": 2, "tv-2023": 2, "wall": 1}, shares(5))
        self.assertEqual({"wall": 5, "tv-2019": 5, "tv-2023": 10},
                         shares(20, "wall:5", "tv-2019:25%", "tv-2023"))
        # Rounding down leaves TVs over: they go to the percents when nothing else takes them.
        self.assertEqual({"wall": 2, "tv-2019": 1}, shares(3, "wall:50%", "tv-2019:50%"))
        self.assertEqual({"wall": 3}, shares(3, "wall:3"))
        self.assertEqual(["wall", "wall", "tv-2019"], share_profiles(3, ["wall:2", "tv-2019"],
                                                                          KNOWN))

    def test_refusals_are_usage_errors(self):
        for requests in (["easel"], ["wall:x"], ["wall:-1"], ["wall:120%"], ["wall:4"],
                         ["wall:1"]):
            with self.assertRaises(lab.LabError, msg=str(requests)) as caught:
                share_profiles(3, requests, KNOWN)
            self.assertEqual(lab.EXIT_USAGE, caught.exception.code)


if __name__ == "__main__":
    sys.exit(0 if unittest.main(exit=False).result.wasSuccessful() else 1)
