#!/usr/bin/env python3
"""Which file may include which, and what else the tree's layout promises.

Usage: includes_test.py ROOT
"""

import pathlib
import sys
import unittest

import rules

SKIPPED = {"build", "node_modules", "__pycache__"}


def read(pattern):
    """The files of this pattern in all components, by their path from the root."""
    root = pathlib.Path(ROOT)
    files = {}
    for component in rules.COMPONENTS:
        for path in (root / component).rglob(pattern):
            name = path.relative_to(root)
            if not SKIPPED & set(name.parts):
                files[name.as_posix()] = path.read_text()
    return files


def read_sources():
    return read("*.h") | read("*.cpp")


class TheTree(unittest.TestCase):
    """The tree keeps every rule."""

    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.tree = read_sources()

    def assert_none(self, violations):
        if violations:
            self.fail("\n  " + "\n  ".join(violations))

    def test_is_read(self):
        for component in (
                "services/kiv/telemetry", "tamsa", "modules/jsonl", "testing", "bench", "tests"):
            self.assertTrue(any(path.startswith(component) for path in self.tree), component)
        self.assertGreater(len(list(rules.includes(self.tree))), 300)

    def test_no_component_includes_a_component_above_it(self):
        self.assert_none(rules.upward_between_components(self.tree))

    def test_no_layer_includes_a_layer_above_it(self):
        self.assert_none(rules.upward_between_layers(self.tree))

    def test_private_headers_are_included_by_their_path_from_the_root(self):
        self.assert_none(rules.not_by_path_from_root(self.tree))

    def test_public_headers_include_no_private_ones(self):
        self.assert_none(rules.private_in_public(self.tree))

    def test_no_circle_between_files(self):
        self.assert_none(rules.circles(self.tree))

    def test_headers_and_sources_pair(self):
        self.assert_none(rules.sources_without_header(self.tree))

    def test_listed_exceptions_exist(self):
        listed = [*rules.SOURCES_WITHOUT_HEADER,
                  *rules.OUTSIDE_INTERNAL]
        self.assert_none([f"{path} is no more" for path in listed if path not in self.tree])

    def test_private_declarations_are_in_namespaces_internal(self):
        self.assert_none(rules.outside_internal(self.tree))

    def test_bench_and_tests_build_nothing_of_each_other(self):
        self.assert_none(rules.shared_by_build(read("CMakeLists.txt")))


class TheRules(unittest.TestCase):
    """Each rule finds its violation in a tree that is made up, and nothing in the same tree without
    the violation."""

    def test_a_component_may_include_the_public_headers_of_those_below_it(self):
        tree = {
            "services/kiv/common/include/kiv/Status.h": "",
            "services/kiv/common/Queue.h": "",
            "services/kiv/telemetry/Logger.cpp": '#include "kiv/Status.h"',
        }
        self.assertEqual(rules.upward_between_components(tree), [])
        tree["services/kiv/telemetry/Logger.cpp"] = '#include "services/kiv/common/Queue.h"'
        self.assertEqual(rules.upward_between_components(tree), [
            "services/kiv/telemetry/Logger.cpp includes services/kiv/common/Queue.h, which is "
            "private to services/kiv/common"])

    def test_a_component_may_not_include_a_component_above_it(self):
        tree = {
            "services/kiv/telemetry/include/kiv/KivError.h": "",
            "tamsa/Loader.cpp": "",
            "services/kiv/common/Runner.cpp": "  #  include <kiv/KivError.h>",
        }
        self.assertEqual(rules.upward_between_components(tree), [
            "services/kiv/common/Runner.cpp includes services/kiv/telemetry/include/kiv/KivError.h"
            ", but services/kiv/common must not depend on services/kiv/telemetry"])
        tree["services/kiv/common/Runner.cpp"] = ""
        self.assertEqual(rules.upward_between_components(tree), [])
        tree["tamsa/Loader.cpp"] = '#include "kiv/KivError.h"'
        self.assertEqual(len(rules.upward_between_components(tree)), 1)

    def test_a_module_may_not_include_another(self):
        tree = {
            "modules/support/Setters.h": "",
            "modules/jsonl/LineAppender.h": "",
            "modules/otlp/Exporter.cpp": '#include "modules/support/Setters.h"',
        }
        self.assertEqual(rules.upward_between_components(tree), [])
        tree["modules/otlp/Exporter.cpp"] = '#include "modules/jsonl/LineAppender.h"'
        self.assertEqual(len(rules.upward_between_components(tree)), 1)

    def test_a_module_may_include_the_public_headers_of_the_binding_only(self):
        tree = {
            "tamsa/include/tamsa/UnifiedTelemetry.h": "",
            "tamsa/Loader.h": "",
            "modules/jsonl/JsonlEvent.h": '#include "tamsa/UnifiedTelemetry.h"',
        }
        self.assertEqual(rules.upward_between_components(tree), [])
        tree["modules/jsonl/JsonlEvent.h"] = '#include "tamsa/Loader.h"'
        self.assertEqual(len(rules.upward_between_components(tree)), 1)

    def test_bench_and_tests_may_not_include_each_other(self):
        shared = {"instrumentation/Count.h": ""}
        for here, there in (("bench", "tests"), ("tests", "bench")):
            tree = shared | {f"{there}/Clock.h": "",
                             f"{here}/Main.cpp": '#include "instrumentation/Count.h"'}
            self.assertEqual(rules.upward_between_components(tree), [])
            tree[f"{here}/Main.cpp"] = f'#include "{there}/Clock.h"'
            self.assertEqual(rules.upward_between_components(tree), [
                f"{here}/Main.cpp includes {there}/Clock.h, but {here} must not depend on {there}"])

    def test_bench_and_tests_may_not_build_files_of_each_other(self):
        good = {"bench/CMakeLists.txt": "add_executable(b ${PROJECT_SOURCE_DIR}/bench/main.cpp)"}
        self.assertEqual(rules.shared_by_build(good), [])
        for here, there in (("bench", "tests"), ("tests", "bench")):
            for root in ("${PROJECT_SOURCE_DIR}/", "../"):
                bad = {f"{here}/CMakeLists.txt": f"add_executable(x {root}{there}/Clock.cpp)"}
                self.assertEqual(len(rules.shared_by_build(bad)), 1, bad)

    def test_a_layer_may_include_itself_and_those_below_it(self):
        root = "services/kiv/telemetry/"
        headers = [root + "vocabulary/Cast.h", root + "aggregation/Table.h",
                   root + "client_aggregators/Impl.h", root + "Scratch.h"]
        sources = [root + "vocabulary/Cast.cpp", root + "aggregation/Table.cpp",
                   root + "client_aggregators/Impl.cpp", root + "Scratch.cpp"]
        for i, source in enumerate(sources):
            for j, header in enumerate(headers):
                tree = dict.fromkeys(headers, "") | {source: f'#include "{header}"'}
                self.assertEqual(len(rules.upward_between_layers(tree)), int(j > i),
                                 (source, header))

    def test_public_headers_are_in_layers_too(self):
        public = "services/kiv/telemetry/include/kiv/"
        tree = {public + "KivError.h": "", public + "TelemetryLogger.h": '#include "kiv/KivError.h"'}
        self.assertEqual(rules.upward_between_layers(tree), [])
        tree = {public + "KivError.h": '#include "kiv/TelemetryLogger.h"',
                public + "TelemetryLogger.h": ""}
        self.assertEqual(rules.upward_between_layers(tree), [
            f"{public}KivError.h (vocabulary) includes {public}TelemetryLogger.h (front end)"])

    def test_every_file_of_the_library_has_a_layer(self):
        for path in ("include/kiv/Unheard.h", "unheard/File.cpp"):
            path = "services/kiv/telemetry/" + path
            self.assertEqual(rules.upward_between_layers({path: ""}), [f"{path} is in no layer"])

    def test_a_private_header_is_included_by_its_path_from_the_root(self):
        tree = {"tamsa/Loader.h": "", "tamsa/Loader.cpp": '#include "tamsa/Loader.h"'}
        self.assertEqual(rules.not_by_path_from_root(tree), [])
        for name in ("Loader.h", "../tamsa/Loader.h"):
            tree["tamsa/Loader.cpp"] = f'#include "{name}"'
            self.assertEqual(rules.not_by_path_from_root(tree), [
                f'tamsa/Loader.cpp includes "{name}", which is not a path from the root'])

    def test_a_search_path_of_the_build_is_no_way_to_a_private_header(self):
        tree = {"modules/recording/Recorder.h": "",
                "tests/system/Test.cpp": '#include "Recorder.h"'}
        self.assertEqual(len(rules.not_by_path_from_root(tree)), 1)
        tree["tests/system/Test.cpp"] = "#include <vector>"
        self.assertEqual(rules.not_by_path_from_root(tree), [])

    def test_a_public_header_is_included_by_its_public_name(self):
        header = "services/kiv/common/include/kiv/Status.h"
        tree = {header: "", "tests/Test.cpp": '#include "kiv/Status.h"'}
        self.assertEqual(rules.not_by_path_from_root(tree), [])
        tree["tests/Test.cpp"] = f'#include "{header}"'
        self.assertEqual(rules.not_by_path_from_root(tree), [
            f'tests/Test.cpp includes "{header}", which is not a public header\'s name'])

    def test_a_public_header_includes_no_private_one(self):
        tree = {"tamsa/Loader.h": "", "tamsa/include/tamsa/Event.h": "#include <string>",
                "tamsa/Event.cpp": '#include "tamsa/Loader.h"'}
        self.assertEqual(rules.private_in_public(tree), [])
        tree["tamsa/include/tamsa/Event.h"] = '#include "tamsa/Loader.h"'
        self.assertEqual(len(rules.private_in_public(tree)), 1)

    def test_an_example_is_a_project_of_its_own(self):
        tree = {"examples/mixer/Mixer.h": "", "examples/mixer/Mixer.cpp": '#include "Mixer.h"'}
        self.assertEqual(rules.not_by_path_from_root(tree), [])

    def test_a_circle_is_found(self):
        tree = {"tamsa/A.h": '#include "tamsa/B.h"', "tamsa/B.h": '#include "tamsa/C.h"',
                "tamsa/C.h": "", "tamsa/D.h": '#include "tamsa/C.h"'}
        self.assertEqual(rules.circles(tree), [])
        tree["tamsa/C.h"] = '#include "tamsa/A.h"'
        self.assertEqual(rules.circles(tree), ["tamsa/A.h -> tamsa/B.h -> tamsa/C.h -> tamsa/A.h"])
        self.assertEqual(rules.circles({"tamsa/A.h": '#include "tamsa/A.h"'}),
                         ["tamsa/A.h -> tamsa/A.h"])

    def test_a_source_has_a_header_of_its_name(self):
        for header in ("testing/List.h", "testing/include/kiv/testing/List.h"):
            tree = {header: "", "testing/List.cpp": ""}
            self.assertEqual(rules.sources_without_header(tree), [])
        self.assertEqual(rules.sources_without_header({"testing/List.cpp": "", "tamsa/List.h": ""}),
                         ["testing/List.cpp has no header of its name"])

    def test_an_exception_ends_with_its_reason(self):
        source = next(iter(rules.SOURCES_WITHOUT_HEADER))
        self.assertEqual(rules.sources_without_header({source: ""}), [])
        tree = {source: "", source.replace(".cpp", ".h"): ""}
        self.assertEqual(len(rules.sources_without_header(tree)), 1)
        header = next(iter(rules.OUTSIDE_INTERNAL))
        self.assertEqual(rules.outside_internal({header: "int number;"}), [])
        self.assertEqual(len(rules.outside_internal({header: ""})), 1)

    def test_private_declarations_are_internal(self):
        path = "services/kiv/telemetry/Table.h"

        def found(text):
            return rules.outside_internal({path: text})

        for text in (
            "#pragma once\n// class A {}\nnamespace a::internal { struct A { int b; }; int f(); }",
            "namespace a { class B; template <typename T> class C; enum class D : char;\n"
            "namespace internal { inline int f() { if (true) { return '{'; } return 1; } } }",
            "namespace a {\nnamespace internal::b {\nint f();\n}  // namespace internal::b\n}",
        ):
            self.assertEqual(found(text), [], text)
        for text, first in (
            ("namespace a { class B { int c; }; }", "class B"),
            ("namespace a::internal { int f(); } namespace a { int g(); }", "int g()"),
            ("namespace a { namespace internal { int f(); } using B = int; }", "using B = int"),
            ("namespace a { namespace internal_ { int f(); } }", "int f()"),
            ("inline int f() { return 1; }", "inline int f()"),
            ("namespace a { class internal { int b; }; }", "class internal"),
        ):
            self.assertEqual(found(text), [f'{path}: not in a namespace internal: "{first}"'])

    def test_public_headers_declare_where_they_like(self):
        header = "testing/include/kiv/testing/Event.h"
        self.assertEqual(rules.outside_internal({header: "namespace a { struct Event {}; }"}), [])


if __name__ == "__main__":
    ROOT = sys.argv.pop(1)
    unittest.main()
