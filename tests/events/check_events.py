#!/usr/bin/python3
"""Compares docs/events.md, docs/events.schema.json and the library: every event that the programs below
submit to their telemetry module has to be valid.

Usage: check_events.py BUILD_DIRECTORY
"""

import concurrent.futures
import csv
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import jsonschema

SOURCE = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(sys.argv[1]).resolve()
JSONL = BUILD / "lib/tamsa/jsonl"

DOCUMENT = (SOURCE / "docs/events.md").read_text()
SCHEMA = json.loads((SOURCE / "docs/events.schema.json").read_text())
KINDS = {kind["properties"]["event"]["const"]: (name, kind) for name, kind in SCHEMA["$defs"].items()
         if "event" in kind.get("properties", {})}
VALIDATOR = jsonschema.Draft202012Validator(SCHEMA)
BY_KIND = {event: VALIDATOR.evolve(schema={"$ref": f"#/$defs/{name}"})
           for event, (name, _) in KINDS.items()}
UUID = re.compile(r"[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}")
SOME_SESSION = "00000000-0000-4000-8000-000000000000"


def without_constants(name):
    raise ValueError(f"{name} is no JSON")


def parse(line):
    return json.loads(line, parse_constant=without_constants)


def errors(event):
    """Describes what is wrong with an event of the kind that it claims to be."""
    validator = BY_KIND.get(str(event.get("event")))
    if validator is None:
        return [f"there is no event named {event.get('event')!r}"]
    return [f"{'/'.join(map(str, error.path)) or 'event'}: {error.message}"
            for error in validator.iter_errors(event)]


def properties(event):
    return KINDS[event][1]["properties"]


def resolve(definition):
    return {**SCHEMA["$defs"].get(definition.get("$ref", "").rpartition("/")[2], {}), **definition}


def shape(event):
    """Replaces values that the schema cannot tell apart by the same value, so that equal events need to be
    validated only once. Values that the schema may refuse are not replaced."""
    if str(event.get("event")) not in KINDS:
        return event
    rules = {field: resolve(rule) for field, rule in properties(event["event"]).items()}
    like = {}
    for field, value in event.items():
        rule = rules.get(field, {})
        bounded = rule.get("type") == "integer" and rule.keys() <= {
            "$ref", "description", "type", "minimum", "maximum"}
        free = rule.keys() <= {"description", "type"} and rule.get("type") == "string"
        if free and isinstance(value, str):
            value = value and "text"
        elif bounded and type(value) is int and rule["minimum"] <= value <= rule["maximum"]:
            value = int(value != 0)
        like[field] = value
    return like


def blocks(language):
    return re.findall(rf"^```{language}\n(.*?)^```$", DOCUMENT, re.MULTILINE | re.DOTALL)


EXAMPLES = [parse(block) for block in blocks("json")]


def run(command, **variables):
    """Runs a program that must succeed, in a directory of its own, where it may leave files. Returns
    what it prints."""
    with tempfile.TemporaryDirectory() as directory:
        result = subprocess.run(command, cwd=directory, env=dict(os.environ, **variables),
                                text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if result.returncode != 0:
        raise RuntimeError(f"{command}\n{result.stdout[-3000:]}")
    return result.stdout


class Schema(unittest.TestCase):
    def test_is_one(self):
        self.assertEqual(SCHEMA["$schema"], "https://json-schema.org/draft/2020-12/schema")
        jsonschema.Draft202012Validator.check_schema(SCHEMA)

    def test_has_one_definition_per_event(self):
        self.assertEqual(set(KINDS), {"wexo_kiv_error_code", "wexo_kiv_stream_event",
                                      "wexo_kiv_generic", ""})
        self.assertEqual(len(SCHEMA["oneOf"]), len(KINDS))

    def test_knows_every_format_that_has_a_name(self):
        with open(SOURCE / "tests/data/audio_formats.csv") as file:
            names = [row["name"] for row in csv.DictReader(file)]
        formats = properties("wexo_kiv_stream_event")["pcm_format"]["enum"]
        self.assertEqual(formats, ["", *names])

    def test_accepts_every_example(self):
        for example in EXAMPLES:
            self.assertTrue(VALIDATOR.is_valid(example), errors(example))

    def assert_refuses(self, example, **changes):
        event = {**example, **changes}
        self.assertFalse(VALIDATOR.is_valid(event), event)
        self.assertFalse(VALIDATOR.is_valid(shape(event)), event)

    def test_refuses_an_event_that_lacks_a_field_or_has_another(self):
        for example in EXAMPLES:
            self.assert_refuses(example, more=1)
            for field in example:
                rest = {name: value for name, value in example.items() if name != field}
                self.assertFalse(VALIDATOR.is_valid(rest), field)
                self.assert_refuses(rest, **{field + "s": example[field]})

    def test_refuses_a_field_of_another_type(self):
        for example in EXAMPLES:
            for field, value in example.items():
                self.assert_refuses(example, **{field: 1 if isinstance(value, str) else "1"})
                self.assert_refuses(example, **{field: [value]})
                if isinstance(value, int):
                    self.assert_refuses(example, **{field: value + 0.5})
                    self.assert_refuses(example, **{field: None})

    def test_refuses_values_beyond_their_range(self):
        for name, field, values in (
                (None, "aggregated_count", (0, -1, 1 << 31)),
                (None, "aggregation_method", ("avg", "", "MEAN")),
                (None, "kiv_session_id", ("", "root", SOME_SESSION + ".", "." + SOME_SESSION,
                                          SOME_SESSION + SOME_SESSION)),
                (None, "start_time_since_epoch", (1 << 63, -(1 << 63))),
                (None, "event", ("wexo_kiv_error", "audio_latency", "wexo_kiv_generic ")),
                ("wexo_kiv_error_code", "severity", (-1, 256)),
                ("wexo_kiv_error_code", "aggregation_method", ("SUM",)),
                ("wexo_kiv_stream_event", "sample_rate", (1 << 31, -(1 << 31) - 1)),
                ("wexo_kiv_stream_event", "interleaved", (2, -1)),
                ("wexo_kiv_stream_event", "pcm_format", ("PCM_16_BIT", "AUDIO_FORMAT_INVALID")),
                ("wexo_kiv_stream_event", "stream_type", ("OBJECT", "0", "5", "", "+7", "-0")),
                ("", "aggregation_method", ("COUNT",)),
                ("wexo_kiv_generic", "value_int", (1 << 63, -(1 << 63) - 1)),
                ("wexo_kiv_generic", "value_float", (4e38, -4e38))):
            for example in EXAMPLES:
                if name is None or example["event"] == name:
                    for value in values:
                        self.assert_refuses(example, **{field: value})

    def test_refuses_two_values_at_once(self):
        example = next(e for e in EXAMPLES if e["event"] == "wexo_kiv_generic")
        example = {**example, "value_int": 0, "value_float": 0.0, "value_string": ""}
        self.assertTrue(VALIDATOR.is_valid(example))
        self.assert_refuses(example, value_int=1, value_float=1.0)
        self.assert_refuses(example, value_int=1, value_string="text", aggregation_method="COUNT")
        self.assert_refuses(example, value_float=None, value_string="text",
                            aggregation_method="COUNT")
        self.assert_refuses(example, value_string="text", aggregation_method="SUM")


class Document(unittest.TestCase):
    def normal(self, event):
        """The fields that have to be equal in each run, in their order."""
        event = dict(event)
        for time_field in ("start_time_since_epoch", "end_time_since_epoch"):
            event[time_field] = None
        event["kiv_session_id"] = UUID.sub("UUID", event["kiv_session_id"])
        if event.get("kiv_event_name", "").startswith("api_latency_us."):
            event["value_int"] = None
        return list(event.items())

    def test_shows_what_its_calls_become(self):
        with tempfile.TemporaryDirectory() as directory:
            path = pathlib.Path(directory) / "events.jsonl"
            run([BUILD / "tests/events/events_document"], LD_LIBRARY_PATH=str(JSONL),
                TAMSA_JSONL_PATH=str(path))
            written = [parse(line) for line in path.read_text().splitlines()]
        self.assertEqual(len(written), len(EXAMPLES))
        for event, example in zip(written, EXAMPLES):
            self.assertEqual(self.normal(example), self.normal(event))

    def test_has_an_example_of_every_kind(self):
        self.assertEqual({example["event"] for example in EXAMPLES}, set(KINDS))

    def fields(self, title):
        """Lists the fields in a section's table, with their types."""
        section = re.search(rf"^## {title}.*?(?=^## |\Z)", DOCUMENT, re.MULTILINE | re.DOTALL)[0]
        table = re.search(r"^\| field \|.*?(?=\n\n)", section, re.MULTILINE | re.DOTALL)
        return re.findall(r"^\| `(\w+)` \| (\w+) \|", table[0], re.MULTILINE) if table else []

    def type_of(self, definition):
        definition = resolve(definition)
        if "enum" in definition or "const" in definition:
            return "string"
        return {"integer": "int64", "string": "string"}.get(str(definition["type"]), "float")

    def test_lists_the_fields_of_the_schema(self):
        common = self.fields("Fields of every event")
        for name, title in (("wexo_kiv_error_code", "Errors"), ("wexo_kiv_generic", "Named values"),
                            ("wexo_kiv_stream_event", "Stream events"), ("", "Audio latency")):
            self.assertEqual(sorted(common + self.fields(title)),
                             sorted((field, self.type_of(rule))
                                    for field, rule in properties(name).items()
                                    if field != "event"), title)


    def test_lists_the_error_catalogue_of_the_library(self):
        section = DOCUMENT.partition("\n## Error catalogue\n")[2]
        listed = re.findall(r"^\| (\d+) \| `(\S+)` \|$", section, re.MULTILINE)
        catalogue = [tuple(line.split()) for line in
                     run([BUILD / "tests/events/error_catalogue"]).splitlines()]
        self.assertEqual(listed, catalogue)

    def test_names_the_format_of_each_sample_format(self):
        header = (SOURCE / "services/kiv/telemetry/include/kiv/KivPcmInfo.h").read_text()
        formats = re.findall(r"SAMPLE_FORMAT_\w+(?= =)", header)
        listed = re.findall(r"^\| `(SAMPLE_FORMAT_\w+)` \| `(AUDIO_FORMAT_\w+)` \|$", DOCUMENT,
                            re.MULTILINE)
        self.assertEqual([name for name, _ in listed], formats)


class Tests:
    """A GoogleTest program, which finds its module by itself."""

    environment = {}

    def __init__(self, path, without=(), own_sessions=False):
        self.path = path
        self.without = without
        # True if its tests use sessions with short names, which the library never creates.
        self.own_sessions = own_sessions

    def command(self, _):
        return [BUILD / "tests" / self.path, "--gtest_brief=1",
                "--gtest_filter=-" + ":".join(self.without)]


class Demo:
    """The program of `./dev demo`. Its last three files are faulty."""

    path = "the demo"
    environment = {"LD_LIBRARY_PATH": str(JSONL)}
    own_sessions = False

    def command(self, directory):
        run([sys.executable, SOURCE / "examples/render_service/make_faulty_sounds.py", directory])
        sounds = sorted(pathlib.Path("/usr/share/sounds/alsa").glob("*.wav"))
        if not sounds:
            raise RuntimeError("there are no sounds")
        return [BUILD / "examples/render_service", "--quiet", "-o", f"{directory}/out.wav",
                *sounds, f"{directory}/not_audio.wav", f"{directory}/slow.wav", "missing.wav"]


class Reporter:
    """The program whose events the tests of the viewing tools use."""

    path = "tools/sample_reporter"
    environment = {"LD_LIBRARY_PATH": str(JSONL)}
    own_sessions = False

    def command(self, _):
        return [BUILD / "tests" / self.path]


PROGRAMS = [
    Demo(),
    Reporter(),
    # Without tests of aggregators of their own, and of methods that the library never sends.
    Tests("telemetry/telemetry_test", own_sessions=True,
          without=["BaseAggregatorTest.*", "*FieldsInOrderEachAsItsType", "*MethodThat*Given*"]),
    Tests("system/derived_client_test",
          without=["DerivedClientTest.BuildsALoggerOnManagersAndAggregatorsOfItsOwn"]),
    Tests("model/model_test", own_sessions=True),
    # The others take long, and all of their events are equal.
    Tests("endurance/endurance_test", without=["MemoryTest.*"], own_sessions=True),
    # That test limits the size of files, and the file of events would exceed it.
    Tests("examples/render_service_test",
          without=["RenderServiceProgram.ReportsAnOutputThatCannotBeWrittenToItsEnd"]),
    # The tap cannot replace a module that lacks a function, and loads the real module on the worker.
    Tests("system/system_test", without=["PartialModule.*", "*LoaderLock.*"]),
]


class Lines(unittest.TestCase):
    """The events of our own programs."""

    def collect(self, program):
        with tempfile.TemporaryDirectory() as directory:
            path = pathlib.Path(directory) / "tapped.jsonl"
            run(program.command(directory), LD_PRELOAD=str(BUILD / "tests/events/libevent_tap.so"),
                TAMSA_EVENT_TAP=str(path), **program.environment)
            return path.read_text().splitlines()

    def check(self, program, lines):
        shapes = set()
        for line in set(lines):
            event = parse(line)
            if program.own_sessions and isinstance(event.get("kiv_session_id"), str):
                event["kiv_session_id"] = SOME_SESSION
            shapes.add(json.dumps(shape(event)))
        problems = {error for shape in shapes for error in errors(json.loads(shape))}
        print(f"{len(lines):8} events of {len(shapes):4} shapes from {program.path}")
        self.assertFalse(problems, program.path)
        return {json.loads(shape)["event"] for shape in shapes}

    def test_are_valid(self):
        seen = set()
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            collected = [pool.submit(self.collect, program) for program in PROGRAMS]
        for program, lines in zip(PROGRAMS, collected):
            with self.subTest(program.path):
                events = self.check(program, lines.result())
                self.assertTrue(events)
                seen |= events
        self.assertEqual(seen, set(KINDS))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
