#!/usr/bin/env python3
"""Compiles uses and misuses of the public headers, as clients do, and compares the compiler's words.

Usage: compile_test.py COMPILER ROOT ANDROID_INCLUDES
"""

import concurrent.futures
import itertools
import os
import pathlib
import re
import subprocess
import sys
import unittest

STANDARDS = ("c++17", "c++20", "c++2b")
MODES = ((), ("-fno-exceptions",), ("-fno-rtti",))
# `char` is signed on some processors.
SIGNEDNESS = ("-fsigned-char", "-funsigned-char")
# Strict clients compile the headers with these.
WARNINGS = ("-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wsign-conversion",
            "-Wfloat-conversion", "-Wdouble-promotion", "-Wold-style-cast", "-Wshadow", "-Werror",
            "-pedantic-errors")

DURATION = ("logKivEvent cannot know the unit of a std::chrono duration. Report a number, and name "
            "the unit in the event's name, such as wait_us for "
            "std::chrono::duration_cast<std::chrono::microseconds>(wait).count()")
CHARACTER = ("logKivEvent cannot know whether a character is a number or a text. Report "
             "static_cast<int>(value), or a std::string")
ENUMERATOR = ("logKivEvent cannot know whether an enumerator is a number or a text. Report "
              "static_cast<int>(value), or the enumerator's name")
OTHER = ("logKivEvent takes a bool, an integer of at most 64 bits, a floating-point number, or a "
         "text (const char*, std::string_view, std::string). Convert the value to one of these")
DROPPED = "nodiscard"

# Statement with one mistake: what the only error says.
MISUSES = {
    'logger->logKivEvent("n", std::chrono::milliseconds(5), method);': DURATION,
    'logger->logKivEvent("n", std::chrono::duration<double>(5), method);': DURATION,
    'logger->logKivEvent("n", \'c\', method);': CHARACTER,
    'logger->logKivEvent<char>("n", 5, method);': CHARACTER,
    'logger->logKivEvent("n", L\'c\', method);': CHARACTER,
    'logger->logKivEvent("n", u\'c\', method);': CHARACTER,
    'logger->logKivEvent("n", method, method);': ENUMERATOR,
    'logger->logKivEvent("n", AUDIO_FORMAT_PCM_8_BIT, method);': ENUMERATOR,
    'logger->logKivEvent("n", nullptr, method);': OTHER,
    'logger->logKivEvent("n", L"text", method);': OTHER,
    'logger->logKivEvent("n", logger, method);': OTHER,
    'logger->logKivEvent("n", std::chrono::steady_clock::now(), method);': OTHER,
    'logger->kiv_beginTraceSection("n");': DROPPED,
    'logger->kiv_beginTraceSection("Mixer", "n");': DROPPED,
    'logger->TelemetryLogger::startTrace("Mixer", "n");': DROPPED,
    'android::kiv::ScopedKivTrace(logger, "n");': DROPPED,
}
# GCC 12 does not see these: it ignores the attribute at virtual calls.
MISUSES_THAT_CLANG_SEES = {
    'logger->startTrace("Mixer", "n");': DROPPED,
    'static_cast<android::kiv::TraceHandler&>(*logger).startTrace("Mixer", "n");': DROPPED,
}
MISUSE = """#include <kiv/ScopedKivTrace.h>
void misuse(const std::shared_ptr<android::kiv::TelemetryLogger>& logger) {
  const auto method = android::kiv::NumericAggregationType::MAX;
  static_cast<void>(method);
  %s
}
"""
AMBIGUOUS = """#include <kiv/KivPcmInfo.h>
#include <kiv/TelemetryLogger.h>
using namespace android;
constexpr auto kSize = sizeof(kiv::KivPcmInfo);
"""


def compiles(source, *flags):
    """The compiler's words about a source; empty if it is content."""
    result = subprocess.run(
        [COMPILER, *flags, *WARNINGS, f"-I{ROOT}/services/kiv/telemetry/include",
         f"-I{ROOT}/services/kiv/common/include", f"-I{ROOT}/platform/host", "-isystem",
         ANDROID_INCLUDES, "-fmessage-length=0", "-fsyntax-only", "-x", "c++", "-"],
        input=source, capture_output=True, text=True, env={**os.environ, "LC_ALL": "C"}, check=False)
    return result.stderr if result.returncode else ""


def errors(words):
    return re.findall(r"^\S+:\d+:\d+: (?:fatal )?error: (.*)$", words, re.MULTILINE)


def misuses():
    version = subprocess.run([COMPILER, "--version"], capture_output=True, text=True, check=True)
    return MISUSES | (MISUSES_THAT_CLANG_SEES if "clang" in version.stdout else {})


class Compiled(unittest.TestCase):
    """What clients write compiles, or is refused with one message that says what to write."""

    maxDiff = None

    @classmethod
    def setUpClass(cls):
        uses = (pathlib.Path(ROOT) / "tests/compile/Uses.cpp").read_text()
        pool = concurrent.futures.ThreadPoolExecutor(os.cpu_count())
        cls.uses = {(standard, *mode): pool.submit(compiles, uses, f"-std={standard}", *mode)
                    for standard, mode in itertools.product(STANDARDS, MODES)}
        cls.misuses = {
            (misuse, message, signedness): pool.submit(
                compiles, MISUSE % misuse, "-std=c++17", signedness)
            for misuse, message in misuses().items()
            for signedness in (SIGNEDNESS if message == CHARACTER else SIGNEDNESS[:1])}
        cls.ambiguous = pool.submit(compiles, AMBIGUOUS, "-std=c++17")
        cls.addClassCleanup(pool.shutdown)

    def test_every_type_compiles_in_every_dialect(self):
        for dialect, words in self.uses.items():
            with self.subTest(dialect):
                self.assertEqual(words.result(), "")

    def test_each_misuse_is_one_error_that_says_what_to_write(self):
        for (misuse, message, signedness), words in self.misuses.items():
            with self.subTest(misuse=misuse, signedness=signedness):
                found = errors(words.result())
                self.assertEqual(len(found), 1, words.result())
                # Beside the message, each compiler says why it prints it.
                self.assertIn(message, found[0])

    def test_the_namespace_of_descriptors_needs_its_leading_colons(self):
        found = errors(self.ambiguous.result())
        self.assertIn("reference to 'kiv' is ambiguous", found[0])


if __name__ == "__main__":
    COMPILER, ROOT, ANDROID_INCLUDES = sys.argv[1:4]
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
