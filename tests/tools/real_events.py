"""Events of a real program, written by the telemetry module for JSON lines."""

import json
import os
import pathlib
import subprocess


def report(reporter, module_directory, path):
    environment = {**os.environ, "LD_LIBRARY_PATH": module_directory, "TAMSA_JSONL_PATH": str(path)}
    # The Android log goes to the standard error, which is not needed.
    subprocess.run([reporter], env=environment, check=True, stderr=subprocess.DEVNULL)
    return pathlib.Path(path).read_bytes()


def parse(content):
    return [json.loads(line) for line in content.splitlines()]
