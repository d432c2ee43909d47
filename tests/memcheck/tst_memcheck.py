#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""usage: tst_memcheck.py PATIENT-DAEMON LOSSY

What runs tests under memcheck, tried on a program with one thing wrong in each run.
"""
import os
import subprocess
import sys
import unittest

RUNNER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "memcheck.py")
MODULE, LOSSY = sys.argv[1:3]


def checked(what, *options):
    command = [sys.executable, "-B", RUNNER, *options, MODULE, "--", LOSSY, what]
    ended = subprocess.run(command, capture_output=True, text=True, check=False)
    return ended.returncode, ended.stdout + ended.stderr


class Memcheck(unittest.TestCase):
    def assert_found(self, what, *words):
        status, output = checked(what, "--without-plugin")
        self.assertEqual(status, 1, output)
        for word in (*words, "lossy.cpp", "is mended there"):
            self.assertIn(word, output)

    def test_a_program_that_does_nothing_of_it_passes(self):
        self.assertEqual(checked("nothing", "--without-plugin"), (0, ""))

    def test_a_value_without_a_beginning_is_found(self):
        self.assert_found("reads", "uninitialised value")

    def test_a_lost_block_is_found(self):
        self.assert_found("loses", "100 bytes in 1 blocks are definitely lost")

    def test_a_failure_is_the_programs_own(self):
        self.assertEqual(checked("fails", "--without-plugin"), (3, ""))

    def test_a_plugin_that_nobody_looked_at_is_a_failure(self):
        status, output = checked("nothing")
        self.assertEqual(status, 1, output)
        self.assertIn("no plugin's process was looked at", output)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
