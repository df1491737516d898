"""Runs a Collector and the engines behind it on the loopback interface, and reads what they hold."""

import json
import os
import pathlib
import re
import signal
import socket
import subprocess
import tempfile
import time
import urllib.error
import urllib.parse
import urllib.request

READY_SECONDS = 90
STOP_SECONDS = 60
# Proxies of the environment are for the outside world.
OPENER = urllib.request.build_opener(urllib.request.ProxyHandler({}))


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def get(url, **parameters):
    """Returns the body of the answer. Raises OSError if there is none, or if it is an error."""
    query = "?" + urllib.parse.urlencode(parameters) if parameters else ""
    try:
        with OPENER.open(url + query, timeout=10) as answer:
            return answer.read().decode()
    except urllib.error.HTTPError as error:
        error.msg += ": " + error.read().decode(errors="replace").strip()
        raise


def wait_until(condition, what, seconds=READY_SECONDS, pause=0.2):
    """Returns the first value of `condition` that is true."""
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        value = condition()
        if value:
            return value
        time.sleep(pause)
    raise TimeoutError(f"{what}: not within {seconds} s")


def answers(url):
    try:
        get(url)
        return True
    except urllib.error.HTTPError as error:
        # 503 means "not ready yet"; any other answer comes from a server that is.
        return error.code != 503
    except OSError:
        return False


def page_block(page, language, first_line=None):
    """Returns the one fenced block of a Markdown page in a language, or the one with the given
    first line."""
    blocks = [block for block in re.findall(rf"^```{language}\n(.*?)^```$", page.read_text(),
                                            re.MULTILINE | re.DOTALL)
              if first_line is None or block.startswith(first_line + "\n")]
    if len(blocks) != 1:
        raise ValueError(f"{page}: {len(blocks)} blocks `{language}` {first_line or ''}, not one")
    return blocks[0]


class Server:
    """A process that can be stopped and started again. It does not outlive this one."""

    def __init__(self, command, directory, environment=None):
        self.command = command
        self.directory = pathlib.Path(directory)
        self.directory.mkdir(parents=True, exist_ok=True)
        self.log = self.directory / "log.txt"
        self.environment = dict(os.environ, **(environment or {}))
        self.process = None

    def ready(self):
        raise NotImplementedError

    def start(self):
        with open(self.log, "a") as log:
            self.process = subprocess.Popen(
                ["setpriv", "--pdeathsig", "KILL", *map(str, self.command)],
                env=self.environment, stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        wait_until(lambda: self.process.poll() is not None or self.ready(), self.log)
        if self.process.poll() is not None:
            raise RuntimeError(f"{self.command[0]} ended:\n{self.log.read_text()[-4000:]}")
        return self

    def stop(self, how=signal.SIGTERM):
        """Returns the exit status; None if the server does not run."""
        if self.process is None:
            return None
        self.process.send_signal(how)
        try:
            return self.process.wait(STOP_SECONDS)
        finally:
            self.process.kill()
            self.process.wait()
            self.process = None

    def __enter__(self):
        return self.start()

    def __exit__(self, *_):
        self.stop()


def plain(value):
    """Returns a value of the protocol's JSON encoding, as in {"intValue": "7"}."""
    (kind, content), = value.items()
    return int(content) if kind == "intValue" else content


def plain_attributes(holder):
    return {a["key"]: plain(a["value"]) for a in holder.get("attributes", [])}


def read_requests(file):
    """Returns the Collector's file as a list of what each request held: pairs of the resource's
    attributes and a record, whose attributes are a plain dictionary."""
    requests = []
    for line in file.read_text().splitlines() if file.exists() else []:
        # A Collector that was killed may have left a torn line. The next request follows it.
        line = line[line.rfind('{"resourceLogs":'):]
        try:
            request = json.loads(line)
        except json.JSONDecodeError:
            continue
        requests.append([(plain_attributes(resource.get("resource", {})),
                          dict(record, attributes=plain_attributes(record)))
                         for resource in request["resourceLogs"]
                         for scope in resource["scopeLogs"] for record in scope["logRecords"]])
    return requests


class Collector(Server):
    """A Collector with the given configuration, in which `settings` replace addresses and paths."""

    def __init__(self, program, configuration, directory, settings=(), environment=None, port=None):
        self.port = port or free_port()
        self.file = pathlib.Path(directory) / "events.jsonl"
        arguments = []
        for key, value in {"receivers::otlp::protocols::http::endpoint": f"127.0.0.1:{self.port}",
                           "exporters::file::path": self.file,
                           "service::telemetry::metrics::level": "none",
                           **dict(settings)}.items():
            arguments += ["--set", f"{key}={value}"]
        super().__init__([program, "--config", configuration, *arguments], directory, environment)

    def ready(self):
        with socket.socket() as probe:
            return probe.connect_ex(("127.0.0.1", self.port)) == 0

    def records(self):
        return [record for request in read_requests(self.file) for record in request]


class Loki(Server):
    def __init__(self, program, configuration, directory):
        self.port = free_port()
        self.url = f"http://127.0.0.1:{self.port}"
        directory = pathlib.Path(directory)
        super().__init__([program, "-config.file", configuration,
                          "-server.http-listen-port", self.port,
                          "-server.grpc-listen-port", free_port(),
                          "-ingester.min-ready-duration", "0s",
                          "-common.path-prefix", directory / "data",
                          "-common.storage.filesystem.chunk-directory", directory / "chunks",
                          "-common.storage.filesystem.rules-directory", directory / "rules"],
                         directory)

    def ready(self):
        return answers(self.url + "/ready")

    def query(self, query):
        """Returns an instant query's samples as pairs of labels and value."""
        answer = json.loads(get(self.url + "/loki/api/v1/query", query=query,
                                time=time.time_ns()))
        return [(s["metric"], float(s["value"][1])) for s in answer["data"]["result"]]

    def streams(self, selector):
        """Returns the labels of each stream."""
        return json.loads(get(self.url + "/loki/api/v1/series", match=selector))["data"]


class Prometheus(Server):
    def __init__(self, program, configuration, directory):
        self.port = free_port()
        self.url = f"http://127.0.0.1:{self.port}"
        directory = pathlib.Path(directory)
        super().__init__([program, f"--config.file={configuration}",
                          f"--web.listen-address=127.0.0.1:{self.port}",
                          f"--storage.tsdb.path={directory / 'data'}"], directory)

    def ready(self):
        return answers(self.url + "/-/ready")

    def query(self, query):
        answer = json.loads(get(self.url + "/api/v1/query", query=query))
        return [(s["metric"], float(s["value"][1])) for s in answer["data"]["result"]]


class CollectorReceiver:
    """A Collector that only writes a file, as the receiver for programs that report. Works in a
    `with` statement; what arrived can be read after it as well."""

    CONFIGURATION = """
receivers: {otlp: {protocols: {http: {endpoint: 127.0.0.1:4318}}}}
exporters: {file: {path: events.jsonl}}
service: {pipelines: {logs: {receivers: [otlp], exporters: [file]}}}
"""

    def __init__(self, program):
        self.directory = tempfile.TemporaryDirectory()
        configuration = pathlib.Path(self.directory.name) / "otelcol.yaml"
        configuration.write_text(self.CONFIGURATION)
        self.collector = Collector(program, configuration, self.directory.name)
        self.url = f"http://127.0.0.1:{self.collector.port}"
        self.requests = None

    def __enter__(self):
        self.collector.start()
        return self

    def __exit__(self, *_):
        self.collector.stop()
        self.requests = read_requests(self.collector.file)
        self.directory.cleanup()

    def environment(self, **variables):
        return dict(environment_without_otel(), OTEL_EXPORTER_OTLP_ENDPOINT=self.url, **variables)

    def bodies(self):
        return self.requests

    def records(self):
        return [record for request in self.requests for record in request]


def environment_without_otel():
    return {k: v for k, v in os.environ.items()
            if not k.startswith("OTEL_") and not k.lower().endswith("_proxy")}
