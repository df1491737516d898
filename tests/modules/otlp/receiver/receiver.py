"""Runs the test receiver and reads what it received."""

import base64
import json
import os
import pathlib
import subprocess
import tempfile

HERE = pathlib.Path(__file__).resolve().parent


def protocol(installation):
    """The directory of the receiver's copy of the protocol's .proto files."""
    return packages(installation) / "@elastic" / "mockotlpserver"


def packages(installation):
    return pathlib.Path(installation).resolve() / "node_modules"


class Receiver:
    """Listens within a `with` statement. The requests can be read during and after it."""

    def __init__(self, installation):
        self.packages = packages(installation)
        self.directory = tempfile.TemporaryDirectory()
        self.kept = {}

    def __enter__(self):
        self.process = subprocess.Popen(
            ["node", HERE / "receiver.js", self.directory.name],
            env=dict(os.environ, NODE_PATH=str(self.packages)), text=True,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.url = self.process.stdout.readline().strip()
        if not self.url:
            raise RuntimeError("the receiver did not start")
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.status = self.process.wait()
        self.process.stdout.close()
        self.kept = {name: self.lines(name) for name in ("bodies.jsonl", "logs.jsonl")}
        self.directory.cleanup()

    def environment(self, **variables):
        """The environment of a program that sends to this receiver."""
        ours = {k: v for k, v in os.environ.items()
                if not k.startswith("OTEL_") and not k.lower().endswith("_proxy")}
        return dict(ours, OTEL_EXPORTER_OTLP_ENDPOINT=self.url, **variables)

    def lines(self, name):
        if name in self.kept:
            return self.kept[name]
        content = (pathlib.Path(self.directory.name) / name).read_bytes()
        # The last line may be incomplete, even in the middle of a character.
        return content[:content.rfind(b"\n") + 1].decode().splitlines()

    def bodies(self):
        """Media type and body of each request."""
        lines = [json.loads(line) for line in self.lines("bodies.jsonl")]
        return [(line["type"], base64.b64decode(line["body"])) for line in lines]

    def logs(self):
        """Each request as the receiver decoded it: attributes are plain members."""
        return [json.loads(line) for line in self.lines("logs.jsonl")]

    def records(self):
        """Every record with the attributes of its resource."""
        return [(resource["resource"]["attributes"], record)
                for logs in self.logs() for resource in logs["resourceLogs"]
                for scope in resource["scopeLogs"] for record in scope["logRecords"]]
