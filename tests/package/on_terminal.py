"""Runs a command on a terminal, waits until it has drawn every line that is shown, and types `q`.
Ends with the exit status of the command.

Usage: on_terminal.py COMMAND_FILE SHOWN_FILE
"""
import fcntl
import os
import pathlib
import pty
import re
import select
import signal
import struct
import sys
import termios
import time

from tutorial_page import line_pattern, squeeze

ROWS, COLUMNS = 50, 160
SEQUENCE = re.compile(rb"\x1b(?:\[[0-9;?]*[ -/]*[@-~]|\][^\x07]*\x07|[()].|[=>78A-Z])")


def drawn(raw):
    """What was drawn, without the terminal's control sequences."""
    return squeeze(SEQUENCE.sub(b" ", raw).replace(b"\r", b"\n").decode(errors="replace"))


def start(command):
    pid, terminal = pty.fork()
    if pid == 0:
        fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", ROWS, COLUMNS, 0, 0))
        os.environ["TERM"] = "xterm"
        os.execvp("bash", ["bash", "-c", command])
    return pid, terminal


def read_some(terminal):
    """Reads what there is. Returns None at the end."""
    if not select.select([terminal], [], [], 0.3)[0]:
        return b""
    try:
        return os.read(terminal, 65536) or None
    except OSError:
        return None


def main(command_file, shown_file):
    shown = squeeze(pathlib.Path(shown_file).read_text()).splitlines()
    pid, terminal = start(pathlib.Path(command_file).read_text())
    raw = b""
    quitting = False
    deadline = time.monotonic() + 60
    while time.monotonic() < deadline:
        more = read_some(terminal)
        if more is None:
            break
        raw += more
        quitting = quitting or all(re.search(line_pattern(line), drawn(raw)) for line in shown)
        if quitting and not more:
            os.write(terminal, b"q")
    else:
        os.kill(pid, signal.SIGKILL)
    status = os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1])
    if not quitting or status != 0:
        sys.exit(f"status {status}; not all of this was drawn:\n{shown}\nbut\n{drawn(raw)}")


if __name__ == "__main__":
    main(*sys.argv[1:])
