#!/usr/bin/env python3
"""Tests how ./dev treats its arguments, the lock of apt, and the output of what it runs.

They run a copy of ./dev and replace the programs that it would start.

Usage: dev_test.py TREE
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

TREE = pathlib.Path(sys.argv.pop(1)).resolve()
REPLACED = ("apt-get", "clang-format-14", "cmake", "ctest", "debootstrap", "doxygen", "git", "npm",
            "shellcheck", "sleep", "unshare")


class DevTest(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        work = pathlib.Path(directory.name)
        self.tree, self.programs, self.calls_file = work / "tree", work / "bin", work / "calls"
        self.tree.mkdir()
        self.programs.mkdir()
        shutil.copy(TREE / "dev", self.tree)
        shutil.copytree(TREE / "scripts", self.tree / "scripts")
        for name in REPLACED:
            self.replace(name)
        self.replace("sudo", '"$@"')
        self.installed(True)

    def write_program(self, path, script):
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(f"#!/bin/bash\n{script}\n")
        path.chmod(0o755)

    def replace(self, name, script="true"):
        """Replaces a program by a shell script, and records each call."""
        record = f'printf "%s\\n" "{name} $*" >>{self.calls_file}'
        self.write_program(self.programs / name, f"{record}\n{script}")

    def installed(self, everything):
        """Makes dpkg report that every package is installed, or that none is."""
        status = "installed" if everything else "not-installed"
        self.write_program(self.programs / "dpkg-query", f"printf {status}")

    def dev(self, *arguments):
        environment = {**os.environ, "PATH": f"{self.programs}:{os.environ['PATH']}"}
        return subprocess.run([self.tree / "dev", *arguments], env=environment, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              stdin=subprocess.DEVNULL, timeout=60)

    def calls(self, program=""):
        lines = self.calls_file.read_text().splitlines() if self.calls_file.exists() else []
        return [line for line in lines if line.startswith(program)]

    def files(self):
        return sorted(path for path in self.tree.rglob("*"))

    def assert_ran_nothing(self, files_before):
        self.assertEqual(self.calls(), [])
        self.assertEqual(self.files(), files_before)


def entries(text):
    """The names in the left column of a list in a help text."""
    return re.findall(r"^  (\S+)", text, re.MULTILINE)


def functions(prefix):
    """The names of the shell functions of ./dev that start with a prefix, without the prefix."""
    sources = [TREE / "dev", *(TREE / "scripts" / "dev").glob("*.sh")]
    text = "\n".join(source.read_text() for source in sources)
    return sorted(re.findall(rf"^{prefix}(\S+)\(\)", text, re.MULTILINE))


class HelpTest(DevTest):
    def test_help_lists_every_command(self):
        for arguments in [], ["help"], ["--help"], ["-h"]:
            with self.subTest(arguments):
                result = self.dev(*arguments)
                self.assertEqual(result.returncode, 0, result.stderr)
                self.assertEqual(sorted(entries(result.stdout)), functions("cmd_"))

    def test_every_command_has_help_that_does_not_run_it(self):
        files = self.files()
        for command in functions("cmd_"):
            for arguments in [command, "--help"], [command, "-h"], ["help", command]:
                with self.subTest(arguments):
                    result = self.dev(*arguments)
                    self.assertEqual(result.returncode, 0, result.stderr)
                    self.assertRegex(result.stdout, rf"\Ausage: \./dev {command}\b")
        self.assert_ran_nothing(files)

    def test_help_may_be_requested_after_other_arguments(self):
        files = self.files()
        result = self.dev("check", "format", "--help")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("usage: ./dev check", result.stdout)
        self.assert_ran_nothing(files)

    def test_help_of_check_lists_every_step(self):
        listed = entries(self.dev("check", "--help").stdout)
        self.assertEqual(set(functions("check_")) - set(listed), set())

    def test_help_fits_80_columns(self):
        for command in functions("cmd_"):
            for line in self.dev(command, "--help").stdout.splitlines():
                self.assertLessEqual(len(line), 80, line)
        for line in self.dev("--help").stdout.splitlines():
            self.assertLessEqual(len(line), 80, line)


class UnknownNameTest(DevTest):
    def test_unknown_command_is_named_beside_the_known_ones(self):
        files = self.files()
        for arguments in ["tset"], ["tset", "--help"], ["help", "tset"]:
            with self.subTest(arguments):
                result = self.dev(*arguments)
                self.assertEqual((result.returncode, result.stdout), (2, ""))
                self.assertIn("'tset'", result.stderr)
                self.assertEqual(sorted(entries(result.stderr)), functions("cmd_"))
        self.assert_ran_nothing(files)

    def test_unknown_step_is_named_before_any_step_runs(self):
        files = self.files()
        result = self.dev("check", "format", "fromat")
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertIn("'fromat'", result.stderr)
        self.assertEqual(set(functions("check_")) - set(entries(result.stderr)), set())
        self.assert_ran_nothing(files)

    def test_steps_of_continuous_integration_are_known(self):
        steps = re.search(r"^\./dev check (.*)$", (TREE / ".ci/run").read_text(), re.MULTILINE)
        known = entries(self.dev("check", "--help").stdout)
        self.assertEqual([step for step in steps[1].split() if step not in known], [])


class InstallTest(DevTest):
    def setUp(self):
        super().setUp()
        self.installed(False)

    def test_waits_for_the_lock_of_an_installation(self):
        self.dev("check", "reference")
        self.assertRegex("\n".join(self.calls("apt-get")),
                         r"DPkg::Lock::Timeout=[1-9]\d+.* install .*\bdoxygen\b")

    def test_waits_for_the_lock_of_the_package_lists(self):
        self.replace("apt-get", f"""[[ $* != *update* || -e {self.tree}/tried ]] && exit
touch {self.tree}/tried
echo "E: Could not get lock /var/lib/apt/lists/lock. It is held by process 1" >&2
exit 100""")
        result = self.dev("check", "reference")
        commands = [re.search("update|install", call)[0] for call in self.calls("apt-get")]
        self.assertEqual(commands, ["update", "update", "install"])
        self.assertEqual(len(self.calls("sleep")), 1)
        self.assertIn("Waiting for another process", result.stdout)

    def test_shows_why_the_package_lists_cannot_be_read(self):
        self.replace("apt-get", 'echo "E: no such archive" >&2; exit 100')
        result = self.dev("check", "reference")
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("E: no such archive", result.stderr)
        self.assertEqual(len(self.calls("apt-get")), 1)

    def test_shows_why_an_installation_failed(self):
        self.replace("apt-get", '[[ $* != *install* ]] || { echo "E: no space left" >&2; exit 100; }')
        result = self.dev("check", "reference")
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("E: no space left", result.stderr)
        self.assertEqual(self.calls("doxygen"), [])

    def test_the_reference_is_made_and_its_path_printed(self):
        self.installed(False)
        result = self.dev("docs")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(len(self.calls("doxygen")), 1)
        self.assertRegex("\n".join(self.calls("apt-get")), r" install .*\bdoxygen\b")
        self.assertIn(f"{self.tree}/build/reference/index.html", result.stdout)

    def test_a_reference_that_fails_prints_no_path(self):
        self.replace("doxygen", "false")
        result = self.dev("docs")
        self.assertNotEqual(result.returncode, 0)
        self.assertNotIn("index.html", result.stdout)

    def test_installs_nothing_that_is_there(self):
        self.installed(True)
        self.dev("check", "reference")
        self.assertEqual(self.calls("apt-get"), [])


class OutputTest(DevTest):
    def sanitize(self, script):
        self.write_program(self.tree / "build/asan/tests/common/common_test", script)
        return self.dev("check", "sanitize")

    def test_failing_program_shows_its_standard_error(self):
        result = self.sanitize("echo ERROR: heap-use-after-free >&2; exit 3")
        self.assertEqual(result.returncode, 3)
        self.assertIn("ERROR: heap-use-after-free", result.stderr)
        self.assertIn("common_test", result.stderr)

    def test_passing_program_hides_its_standard_error(self):
        result = self.sanitize("echo noise >&2; touch passed")
        self.assertTrue((self.tree / "passed").exists())
        self.assertNotIn("noise", result.stdout + result.stderr)

    def test_failing_configuration_shows_its_output(self):
        self.replace("cmake", "echo CMake Error: no compiler; exit 1")
        result = self.dev("test")
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("CMake Error: no compiler", result.stdout)

    def test_build_shows_its_progress_in_few_lines(self):
        self.replace("cmake", """[[ $1 == --build ]] || exit 0
for i in {1..100}; do echo "[$i/100] Building part $i"; done""")
        shown = re.findall(r"^\[(\d+)/100\]", self.dev("test").stdout, re.MULTILINE)
        self.assertEqual(shown, ["1", "25", "50", "75", "100"])

    def test_failing_build_shows_the_error(self):
        self.replace("cmake", """[[ $1 == --build ]] || exit 0
printf '[1/9] A\\n[2/9] B\\nFAILED: B\\nB.cpp:1: error: expected\\n'
exit 1""")
        result = self.dev("test")
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("FAILED: B\nB.cpp:1: error: expected\n", result.stdout)
        self.assertEqual(self.calls("ctest"), [])


if __name__ == "__main__":
    unittest.main()
