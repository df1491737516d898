"""Follows docs/tutorial.md: writes its files and runs its commands in their order, in an empty
folder and with an installation of a build, and compares the output that the page shows.

Usage: check_tutorial.py SOURCE_DIR BUILD_DIR C++_COMPILER [C++_FLAGS]
"""
import os
import pathlib
import shlex
import signal
import socket
import subprocess
import sys
import tempfile

from tutorial_page import Commands, PageError, matches, read

HERE = pathlib.Path(__file__).resolve().parent
PORT = "4318"
# Set by callers of this test, and not by readers of the page.
UNSET = ("LD_LIBRARY_PATH", "TAMSA_", "OTEL_", "CMAKE_", "CTEST_", "GTEST_", "CXX",
         "http_proxy", "all_proxy", "ALL_PROXY", "XDG_CONFIG_HOME")


def free_port():
    with socket.socket() as found:
        found.bind(("127.0.0.1", 0))
        return str(found.getsockname()[1])


def install(source, build, home):
    """Makes what the page asks for: the library in ~/kiv, its sources, and GoogleTest."""
    for directory, prefix in ((build, home / "kiv"), (f"{build}/tests/googletest", home / "gtest")):
        subprocess.run(["cmake", "--install", directory, "--prefix", prefix], check=True,
                       stdout=subprocess.DEVNULL)
    (home / "libkivtelemetry").symlink_to(pathlib.Path(source).resolve())


def environment(home, compiler, flags):
    kept = {name: value for name, value in os.environ.items() if not name.startswith(UNSET)}
    return {**kept, "HOME": str(home), "LC_ALL": "C.UTF-8", "CXX": compiler, "CXXFLAGS": flags,
            "CMAKE_GENERATOR": "Ninja", "CMAKE_PREFIX_PATH": str(home / "gtest"),
            "PYTHONDONTWRITEBYTECODE": "1"}


def script(steps, records):
    """A shell script of all steps. It ends at the first command that fails. The number of the step
    is left in a file, and so is the output of each."""
    lines = ["set -eo pipefail"]
    for number, step in enumerate(steps):
        text = records / f"{number}.text"
        text.write_text(step.text)
        lines.append(f"echo {number} >{records}/step")
        if not isinstance(step, Commands):
            name = shlex.quote(step.name)
            lines.append(f"{{ echo; cat {text}; }} >>{name}" if step.appended else
                         f"cat {text} >{name}")
            continue
        commands = step.text
        if step.interactive:
            shown = records / f"{number}.shown"
            shown.write_text(step.output)
            commands = f"{sys.executable} {HERE}/on_terminal.py {text} {shown}\n"
        lines.append(f"{{\n{commands}}} >{records}/{number}.output 2>&1 </dev/null")
    return "\n".join(lines) + "\n"


def run(text, folder, variables):
    """Returns the exit status. Ends what the commands left behind."""
    process = subprocess.Popen(["bash", "-c", text], cwd=folder, env=variables,
                               start_new_session=True)
    try:
        return process.wait(timeout=200)
    except subprocess.TimeoutExpired:
        return "a timeout"
    finally:
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.wait()


def differences(steps, records, status):
    """Yields what is not as the page says."""
    last = int((records / "step").read_text())
    for number, step in enumerate(steps[:last + 1]):
        if not isinstance(step, Commands):
            continue
        path = records / f"{number}.output"
        output = path.read_text(errors="replace") if path.exists() else ""
        if status != 0 and number == last:
            yield f"line {step.line}: the commands end with {status}:\n{step.text}\n{output}"
        elif step.output and not step.interactive and not matches(step.output, output):
            yield (f"line {step.line}: the page shows\n{step.output}\n"
                   f"but the output of\n{step.text}is\n{output}")


def main(source, build, compiler, flags=""):
    page = (pathlib.Path(source) / "docs" / "tutorial.md").read_text()
    try:
        steps = read(page.replace(PORT, free_port()))
    except PageError as error:
        sys.exit(f"docs/tutorial.md: {error}")
    with tempfile.TemporaryDirectory() as directory:
        home, folder, records = (pathlib.Path(directory) / name for name in ("home", "at", "records"))
        for made in (home, folder, records):
            made.mkdir()
        install(source, build, home)
        status = run(script(steps, records), folder, environment(home, compiler, flags))
        found = list(differences(steps, records, status))
    if found or status != 0:
        sys.exit("docs/tutorial.md: " + "\n".join(found or [f"ended with {status}"]))
    commands = [step for step in steps if isinstance(step, Commands)]
    shown = sum(bool(step.output) for step in commands)
    print(f"followed: {len(steps) - len(commands)} files, {len(commands)} blocks of commands, "
          f"{shown} shown outputs")


if __name__ == "__main__":
    main(*sys.argv[1:])
