#!/usr/bin/env python3
"""Mutation testing: checks that the suite fails when the code is wrong.

Applies the mutants of mutants.toml, one at a time, to a copy of this tree, rebuilds what depends on
the change, and runs the test programs that may kill the mutant, those of its component first. A test
that fails, crashes or hangs kills a mutant. Fails if a mutant survives that is not listed as equivalent or
flaky, if an equivalent one is killed, or if one cannot be applied or does not compile.
"""

import argparse
import concurrent.futures
import dataclasses
import os
import pathlib
import queue
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import tomllib

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent

PROGRAMS = {
    "common_test": "tests/common",
    "tamsa_test": "tests/tamsa",
    "tamsa_absent_module_test": "tests/tamsa",
    "tamsa_android_loader_test": "tests/tamsa",
    "telemetry_test": "tests/telemetry",
    "model_test": "tests/model",
    "system_test": "tests/system",
    "derived_client_test": "tests/system",
    "endurance_test": "tests/endurance",
    "jsonl_test": "tests/modules",
    "jsonl_faults_test": "tests/modules",
    "testing_test": "tests/testing",
    "module_support_test": "tests/modules",
    "otlp_test": "tests/modules/otlp",
    "otlp_module_test": "tests/modules/otlp",
}

# The programs whose tests may kill a mutant in this component, the component's own first.
COMPONENTS = {
    "services/kiv/common/": [
        "common_test", "telemetry_test", "system_test", "model_test", "endurance_test",
    ],
    "services/kiv/telemetry/": [
        "telemetry_test", "model_test", "system_test", "derived_client_test", "endurance_test",
    ],
    "tamsa/": [
        "tamsa_test", "tamsa_absent_module_test", "tamsa_android_loader_test", "telemetry_test",
        "system_test",
    ],
    "modules/support/": ["module_support_test", "jsonl_test", "jsonl_faults_test"],
    "modules/jsonl/": ["jsonl_test", "jsonl_faults_test"],
    "modules/otlp/": ["otlp_test", "otlp_module_test"],
    "modules/recording/": ["tamsa_test", "telemetry_test", "model_test"],
    "testing/": ["testing_test"],
}

# A program hangs that writes nothing for so many seconds: each test says that it begins. The limits
# are generous, because on a busy machine a slow program must not pass for one that hangs.
LEAST_SILENCE = 40
SILENCE_FACTOR = 4
# What writes without end hangs, too.
TIME_LIMIT = 600
# A mutant may allocate without limit.
MEMORY_LIMIT = 8 << 30


@dataclasses.dataclass(frozen=True)
class Mutant:
    """A change of the code. `equivalent` and `flaky` give a reason, if they apply."""

    what: str
    file: str
    find: str
    replace: str
    equivalent: str = ""  # why no test can kill it
    flaky: str = ""  # why it depends on chance whether a test kills it
    first: str = ""  # the program to run first, if it is not the component's own

    def likely_tests(self):
        """A filter for the tests named after the source file: fast, and they often suffice."""
        return f"*{pathlib.Path(self.file).stem.removeprefix('Kiv').removesuffix('Impl')}*"

    def programs(self):
        own = next(names for start, names in COMPONENTS.items() if self.file.startswith(start))
        return [self.first] * bool(self.first) + [name for name in own if name != self.first]

    def __str__(self):
        return f"{self.file}: {self.what}"


class Tree:
    """The copy and its build."""

    def __init__(self, work):
        self.sources = work / "tree"
        self.build_directory = work / "build"

    def sync(self):
        """Makes the copy equal to the original. Unchanged files keep their time stamps."""
        listed = subprocess.run(
            ["git", "ls-files", "--cached", "--others", "--exclude-standard", "-z"],
            cwd=ROOT, check=True, capture_output=True, text=True).stdout
        names = {name for name in listed.split("\0") if name and (ROOT / name).is_file()}
        for name in names:
            original, copy = ROOT / name, self.sources / name
            if copy.exists() and copy.read_bytes() == original.read_bytes():
                continue
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(original, copy)
        for copy in self.sources.rglob("*"):
            if copy.is_file() and str(copy.relative_to(self.sources)) not in names:
                copy.unlink()

    def configure(self):
        options = {
            "BUILD_TESTING": "ON",
            "CMAKE_BUILD_TYPE": "Debug",
            "CMAKE_CXX_FLAGS": "-D_GLIBCXX_ASSERTIONS",
            "CMAKE_CXX_FLAGS_DEBUG": "-O0",  # No debug information: faster to build.
            "CMAKE_LINK_DEPENDS_NO_SHARED": "ON",
            "KIV_BUILD_EXAMPLES": "OFF",
        }
        if shutil.which("ccache"):
            options["CMAKE_CXX_COMPILER_LAUNCHER"] = "ccache"
            os.environ["CCACHE_SLOPPINESS"] = (
                "pch_defines,time_macros,include_file_mtime,include_file_ctime")
        subprocess.run(
            ["cmake", "-S", self.sources, "-B", self.build_directory, "-G", "Ninja"]
            + [f"-D{name}={value}" for name, value in options.items()],
            check=True, stdout=subprocess.DEVNULL)

    def build(self, programs):
        """True if the programs compile."""
        done = subprocess.run(
            ["cmake", "--build", self.build_directory, "--target", *programs, "--", "--quiet"],
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace")
        if done.returncode != 0:
            print("\n".join(done.stdout.splitlines()[-30:]))
        return done.returncode == 0

    def run(self, program, longest_silence, tests="*"):
        """Runs tests in one process until the first failure. Returns which test killed the mutant;
        empty if none did. Notes the longest silence.
        """
        path = self.build_directory / PROGRAMS[program] / program
        with tempfile.TemporaryFile("w+", errors="replace") as output:
            running = subprocess.Popen(
                [path, "--gtest_fail_fast", "--gtest_color=no", f"--gtest_filter={tests}"],
                cwd=path.parent, stdout=output, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL,
                start_new_session=True)
            limit_resources(running.pid)
            hung = self.hangs(running, output, longest_silence)
            # Ends the programs that it started, too.
            try:
                os.killpg(running.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            running.wait()
            output.seek(0)
            text = output.read()
        if not hung and running.returncode == 0:
            return ""
        failed = re.findall(r"^\[  FAILED  \] (\S+)", text, re.MULTILINE)
        begun = re.findall(r"^\[ RUN      \] (\S+)", text, re.MULTILINE)
        test = failed[0].rstrip(",") if failed else begun[-1] if begun else program
        if hung:
            return f"{test} (hangs)"
        if not failed:
            return f"{test} (crashes)"
        return test


    def hangs(self, running, output, longest_silence):
        """True if the program writes nothing for too long. False when it has ended."""
        begin = last = time.monotonic()
        size = self.silence = 0
        while True:
            try:
                running.wait(0.2)
                return False
            except subprocess.TimeoutExpired:
                pass
            now = time.monotonic()
            self.silence = max(self.silence, now - last)
            if os.fstat(output.fileno()).st_size != size:
                size, last = os.fstat(output.fileno()).st_size, now
            if now - last > longest_silence or now - begin > TIME_LIMIT:
                return True


def limit_resources(process):
    try:
        resource.prlimit(process, resource.RLIMIT_CORE, (0, 0))
        resource.prlimit(process, resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))
    except ProcessLookupError:
        pass  # It has ended already.


def read_mutants():
    with open(HERE / "mutants.toml", "rb") as file:
        return [Mutant(**entry) for entry in tomllib.load(file)["mutant"]]


def check_applicable(mutants):
    """True if every mutant can be applied. Prints those that cannot."""
    ok = True
    for mutant in mutants:
        path = ROOT / mutant.file
        if not path.is_file():
            reason = "the file does not exist"
        elif not mutant.file.startswith(tuple(COMPONENTS)):
            reason = "no test program is listed for its component"
        elif mutant.find == mutant.replace:
            reason = "`find` and `replace` are equal"
        elif (places := path.read_text().count(mutant.find)) != 1:
            reason = f"`find` occurs {places} times"
        else:
            continue
        print(f"cannot apply: {mutant}: {reason}")
        ok = False
    return ok


def try_mutant(tree, mutant, limits):
    """Returns which test killed the mutant; empty if none did, None if it does not compile."""
    path = tree.sources / mutant.file
    original = path.read_text()
    path.write_text(original.replace(mutant.find, mutant.replace))
    try:
        for program in mutant.programs():
            if not tree.build([program]):
                return None
            how = (tree.run(program, limits[program], mutant.likely_tests())
                   or tree.run(program, limits[program]))
            if how:
                return f"{program}: {how}"
        return ""
    finally:
        path.write_text(original)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--check-applies", action="store_true",
                        help="only check that every mutant can be applied; builds nothing")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(),
                        help="mutants that are tried at a time, each in a copy of its own; as many "
                        "as there are processors by default")
    parser.add_argument("work", type=pathlib.Path, nargs="?",
                        help="directory for the copy of the tree and its build")
    parser.add_argument("regex", nargs="?", default="",
                        help="selects mutants by file and description")
    arguments = parser.parse_intermixed_args()
    if arguments.work is None and not arguments.check_applies:
        parser.error("the directory for the copy is missing")

    everything = read_mutants()
    if not check_applicable(everything):
        return 1
    if arguments.check_applies:
        print(f"All {len(everything)} mutants can be applied.")
        return 0
    mutants = [mutant for mutant in everything if re.search(arguments.regex, str(mutant))]
    programs = [name for name in PROGRAMS if any(name in mutant.programs() for mutant in mutants)]

    jobs = max(1, min(arguments.jobs, len(mutants)))
    trees = [Tree(arguments.work.resolve() / str(number)) for number in range(jobs)]
    for tree in trees:
        tree.sync()
        tree.configure()
        if not tree.build(programs):
            return 1
    limits = {}
    for program in programs:
        start = time.monotonic()
        how = trees[0].run(program, TIME_LIMIT)
        taken = time.monotonic() - start
        if how:
            print(f"The suite fails without a mutant: {program}: {how}")
            return 1
        limits[program] = max(LEAST_SILENCE, SILENCE_FACTOR * trees[0].silence)
        print(f"{taken:6.1f} s  {program}", flush=True)

    free_trees = queue.SimpleQueue()
    for tree in trees:
        free_trees.put(tree)

    def try_in_free_tree(mutant):
        tree = free_trees.get()
        start = time.monotonic()
        try:
            return try_mutant(tree, mutant, limits), time.monotonic() - start
        finally:
            free_trees.put(tree)

    counts = dict.fromkeys(("killed", "equivalent", "flaky", "SURVIVED", "STALE", "INVALID"), 0)
    with concurrent.futures.ThreadPoolExecutor(jobs) as executor:
        tries = executor.map(try_in_free_tree, mutants)
        for number, (mutant, (how, taken)) in enumerate(zip(mutants, tries), 1):
            if how is None:
                verdict, detail = "INVALID", "does not compile"
            elif how:
                verdict, detail = ("STALE" if mutant.equivalent else "killed"), how
            elif mutant.equivalent:
                verdict, detail = "equivalent", mutant.equivalent
            elif mutant.flaky:
                verdict, detail = "flaky", mutant.flaky
            else:
                verdict, detail = "SURVIVED", "no test fails"
            counts[verdict] += 1
            print(f"{number:3}/{len(mutants)} {taken:5.0f} s  {verdict:10}  {mutant}"
                  f"\n{'':27}{detail}", flush=True)

    print(f"\n{len(mutants)} mutants: {counts['killed']} killed, {counts['equivalent']} equivalent, "
          f"{counts['flaky']} flaky and not killed, {counts['SURVIVED']} survived, "
          f"{counts['STALE']} listed as equivalent but killed, {counts['INVALID']} do not compile")
    return int(any(counts[verdict] for verdict in ("SURVIVED", "STALE", "INVALID")))


if __name__ == "__main__":
    sys.exit(main())
