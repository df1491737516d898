#!/usr/bin/env python3
"""Tests of large files.

Usage: large_files_test.py COMMAND
"""

import os
import pathlib
import pty
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

import sample_events as sample  # noqa: E402

COMMAND = os.path.abspath(sys.argv.pop(1))

# Runs a command, and prints its peak memory in KiB on the last line.
MEASURE = """
import resource, subprocess, sys
subprocess.run(sys.argv[1:], check=True)
print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)
"""


class LargeFilesTest(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.file = pathlib.Path(directory.name) / "events.jsonl"
        self.page = pathlib.Path(directory.name) / "page.html"
        self.lines = sample.lines(sample.busy_lab(240))

    def command(self):
        # The interpreter that has the modules of Debian's packages.
        return ["/usr/bin/python3", COMMAND, "-o", str(self.page), str(self.file)]

    def memory_for(self, times):
        self.file.write_bytes(self.lines * times)
        return int(subprocess.run([sys.executable, "-c", MEASURE, *self.command()],
                                  capture_output=True, check=True).stdout.splitlines()[-1])

    def on_terminal(self, times):
        """Returns what a terminal shows of the standard error."""
        self.file.write_bytes(self.lines * times)
        ours, theirs = pty.openpty()
        with subprocess.Popen(self.command(), stdout=subprocess.DEVNULL, stderr=theirs) as process:
            os.close(theirs)
            shown = b""
            while block := self.read(ours):
                shown += block
        os.close(ours)
        self.assertEqual(process.returncode, 0)
        return shown.decode()

    @staticmethod
    def read(terminal):
        try:
            return os.read(terminal, 4096)
        except OSError:  # the other side is closed
            return b""

    def test_more_lines_take_no_more_memory(self):
        few, many = self.memory_for(1), self.memory_for(20)
        self.assertGreater(20 * len(self.lines), 60_000_000)
        self.assertLess(many, few + 8192)

    def test_a_terminal_shows_the_progress(self):
        shown = self.on_terminal(4)
        self.assertIn("Reading:   0%", shown)
        self.assertRegex(shown, r"Reading: +[1-9]\d%")

    def test_only_a_terminal_shows_the_progress(self):
        self.file.write_bytes(self.lines)
        result = subprocess.run(self.command(), capture_output=True, check=True)
        self.assertNotIn(b"Reading", result.stderr)


if __name__ == "__main__":
    unittest.main()
