"""The rules for includes, files and namespaces, as functions on a tree.

A tree is a dictionary from a path, relative to the root, to the file's text. Each rule returns its
violations, one line of text each.
"""

import posixpath
import re

# Directories whose files are included without naming them: each holds the public headers of a
# component.
PUBLIC_DIRECTORIES = {
    "platform/host": "platform/host",
    "services/kiv/common/include": "services/kiv/common",
    "tamsa/include": "tamsa",
    "services/kiv/telemetry/include": "services/kiv/telemetry",
    "testing/include": "testing",
}

LIBRARY = ["platform/host", "services/kiv/common", "tamsa", "services/kiv/telemetry"]
MODULES = ["modules/jsonl", "modules/otlp", "modules/recording", "modules/support"]

# Component: the components of which it may include every header, and those of which it may include
# only public ones.
COMPONENTS = {
    "platform/host": ([], []),
    "instrumentation": ([], []),
    "services/kiv/common": ([], ["platform/host"]),
    "tamsa": ([], ["platform/host"]),
    "services/kiv/telemetry": (["tamsa"], ["platform/host", "services/kiv/common"]),
    "modules/support": ([], ["tamsa"]),
    "modules/jsonl": (["modules/support"], ["tamsa"]),
    "modules/otlp": (["modules/support"], ["tamsa"]),
    "modules/recording": (["modules/support"], ["tamsa"]),
    "testing": (["modules/recording"], LIBRARY),
    "examples": ([], [*LIBRARY, "testing"]),
    "tools": ([], LIBRARY),
    "bench": ([*LIBRARY, *MODULES, "instrumentation"], ["testing"]),
    "tests": ([*LIBRARY, *MODULES, "instrumentation", "testing", "examples", "tools"], []),
}

TELEMETRY = "services/kiv/telemetry/"
# From the ground up. A file may include its own layer and those before it.
LAYERS = ["vocabulary", "aggregation", "client_aggregators", "front end"]
LAYERS_OF_PUBLIC_HEADERS = {
    "vocabulary": [
        "EventNames", "Export", "KivError", "KivPcmInfo", "KivSessionId", "NumericAggregationType",
        "TelemetrySwitch", "Version", "internal/ReportedValue",
    ],
    "aggregation": [
        "KivAudioLatencyAggregator", "KivBaseAggregator", "KivErrorCodeAggregator",
        "KivGenericEventAggregator", "KivStreamEventAggregator", "TimedAggregationManager",
        "internal/AggregationManagers", "internal/WindowSlot",
    ],
    "front end": ["ScopedKivTrace", "TelemetryLogger", "TraceHandler"],
}

PAIRED = ("services/", "tamsa/", "modules/", "testing/")

# Sources without a header of their name, each with the reason.
SOURCES_WITHOUT_HEADER = {
    "modules/recording/RecordingModule.cpp":
        "the module's entry points, which are looked up by name",
    "services/kiv/telemetry/DeviceLayout.cpp": "assertions about layouts, checked as it compiles",
    "services/kiv/telemetry/LoggerWaits.cpp": "operations of TelemetryLogger",
    "services/kiv/telemetry/TelemetryLoggerManager.cpp": "a class of TelemetryLogger.h",
    "services/kiv/telemetry/TelemetryLoggerReports.cpp": "operations of TelemetryLogger",
    "services/kiv/telemetry/TelemetryLoggerTraces.cpp": "operations of TelemetryLogger",
    "services/kiv/telemetry/vocabulary/AudioFormatToString.cpp":
        "an exported function of KivPcmInfo.h, apart because it is the only one outside a namespace",
    "testing/EventListExpectation.cpp": "operations of EventExpectation.h on lists",
}

# Libraries that share a process with code of others. What they do not publish is in `internal`.
WITH_INTERNAL_NAMESPACE = ("services/", "testing/")

# Private headers with something outside of `internal`, each with the reason.
OUTSIDE_INTERNAL = {
    "services/kiv/telemetry/client_aggregators/KivBaseAggregatorImpl.h":
        "defines the members of public class templates",
}

# An example is a project of its own, whose root is its directory.
LOCAL_INCLUDES = ("examples/",)

# Copies of the platform's headers, for a compiler that stands in for the device's.
FOREIGN = ("tests/device/platform/",)

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(["<])([^">]+)[">]', re.MULTILINE)


def component_of(path):
    """The component of a file; empty if it is in none."""
    components = [component for component in COMPONENTS if path.startswith(component + "/")]
    return max(components, key=len, default="")


def is_public(path):
    return any(path.startswith(directory + "/") for directory in PUBLIC_DIRECTORIES)


def is_ours(path):
    return component_of(path) != "" and not path.startswith(FOREIGN)


def resolve(tree, path, name):
    """The file of the tree that `path` includes as `name`; None if it is not one of the tree's."""
    candidates = [name]
    candidates += [f"{directory}/{name}" for directory in PUBLIC_DIRECTORIES]
    candidates.append(posixpath.normpath(posixpath.join(posixpath.dirname(path), name)))
    return next((candidate for candidate in candidates if candidate in tree), None)


def includes(tree):
    """Every include of one file of the tree by another: who, whom, and the name in the source."""
    for path, text in sorted(tree.items()):
        if not is_ours(path):
            continue
        for _, name in INCLUDE.findall(text):
            target = resolve(tree, path, name)
            if target is not None:
                yield path, target, name


def upward_between_components(tree):
    found = []
    for path, target, _ in includes(tree):
        component, of = component_of(path), component_of(target)
        everything, public = COMPONENTS[component]
        if of == component or of in everything or (of in public and is_public(target)):
            continue
        if of in public:
            found.append(f"{path} includes {target}, which is private to {of}")
        else:
            found.append(
                f"{path} includes {target}, but {component} must not depend on {of or 'it'}")
    return found


def layer_of(path):
    """The layer of a file of the telemetry library; None if no layer is known for it."""
    rest = path.removeprefix(TELEMETRY)
    if rest.startswith("include/kiv/"):
        name = rest.removeprefix("include/kiv/").removesuffix(".h")
        return next((layer for layer, names in LAYERS_OF_PUBLIC_HEADERS.items() if name in names),
                    None)
    directory, slash, _ = rest.partition("/")
    if not slash:
        return "front end"
    return directory if directory in LAYERS else None


def upward_between_layers(tree):
    found = [f"{path} is in no layer" for path in sorted(tree)
             if path.startswith(TELEMETRY) and layer_of(path) is None]
    for path, target, _ in includes(tree):
        if not (path.startswith(TELEMETRY) and target.startswith(TELEMETRY)):
            continue
        layer, of = layer_of(path), layer_of(target)
        if layer and of and LAYERS.index(of) > LAYERS.index(layer):
            found.append(f"{path} ({layer}) includes {target} ({of})")
    return found


def not_by_path_from_root(tree):
    """Private headers that are included by another name than their path from the root."""
    names = {posixpath.basename(path) for path in tree}
    found = []
    for path, text in sorted(tree.items()):
        if not is_ours(path) or path.startswith(LOCAL_INCLUDES):
            continue
        for bracket, name in INCLUDE.findall(text):
            target = resolve(tree, path, name)
            if target is None:
                # Found by a directory of the build's search path, not by its path.
                wrong = bracket == '"' and posixpath.basename(name) in names
            elif is_public(target):
                wrong = posixpath.normpath(name) == target and "/include/" in target
            else:
                wrong = name != target
            if wrong:
                found.append(f'{path} includes "{name}", which is not '
                             + ("a public header's name" if target and is_public(target)
                                else "a path from the root"))
    return found


def private_in_public(tree):
    """Public headers that include private ones, which are not installed beside them."""
    return [f"{path}, a public header, includes {target}, which is private"
            for path, target, _ in includes(tree) if is_public(path) and not is_public(target)]


def circles(tree):
    """Circles of includes, each once, as a chain of files."""
    targets = {}
    for path, target, _ in includes(tree):
        targets.setdefault(path, []).append(target)
    found, done = [], set()

    def visit(path, chain):
        if path in chain:
            found.append(" -> ".join([*chain[chain.index(path):], path]))
            return
        if path in done:
            return
        for target in targets.get(path, []):
            visit(target, [*chain, path])
        done.add(path)

    for path in sorted(targets):
        visit(path, [])
    return found


def sources_without_header(tree):
    listed = set(SOURCES_WITHOUT_HEADER)
    found = []
    headers = {(component_of(path), posixpath.basename(path)) for path in tree if is_public(path)}
    for path in sorted(tree):
        if not (path.startswith(PAIRED) and path.endswith(".cpp")):
            continue
        header = path.removesuffix(".cpp") + ".h"
        paired = header in tree or (component_of(path), posixpath.basename(header)) in headers
        if paired and path in listed:
            found.append(f"{path} has a header of its name: take it from the list of exceptions")
        if not paired and path not in listed:
            found.append(f"{path} has no header of its name")
    return found


COMMENT_OR_TEXT = re.compile(
    r"""//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])*'|^[ \t]*#(?:\\\n|[^\n])*""",
    re.DOTALL | re.MULTILINE)
FORWARD_DECLARATION = re.compile(
    r"(template\s*<[^;{]*>\s*)?(class|struct|enum(\s+(class|struct))?)\s+\w+(\s*:\s*\w+)?$")


def first_outside_internal(text):
    """The first declaration outside of a namespace `internal`; None if there is none.

    A class may be declared anywhere, as long as it is not defined.
    """
    code = COMMENT_OR_TEXT.sub(" ", text)
    depth_of_internal = 0
    depth_of_body = 0
    opened = []  # of each open namespace, its name
    statement = ""
    for character in code:
        if depth_of_body:
            depth_of_body += {"{": 1, "}": -1}.get(character, 0)
        elif character == "{":
            namespace = re.fullmatch(r"\s*(?:inline\s+)?namespace\b([\s\w:]*)", statement)
            if namespace:
                opened.append(namespace[1].strip())
                depth_of_internal += "internal" in opened[-1].split("::")
            elif depth_of_internal:
                depth_of_body = 1
            else:
                return " ".join(statement.split())
            statement = ""
        elif character == "}":
            if opened:
                depth_of_internal -= "internal" in opened.pop().split("::")
            statement = ""
        elif character == ";":
            declared = statement.strip()
            if declared and not depth_of_internal and not FORWARD_DECLARATION.match(declared):
                return " ".join(declared.split())
            statement = ""
        else:
            statement += character
    return None


def outside_internal(tree):
    found = []
    for path, text in sorted(tree.items()):
        if not path.endswith(".h") or not path.startswith(WITH_INTERNAL_NAMESPACE):
            continue
        if is_public(path):
            continue
        first = first_outside_internal(text)
        if path in OUTSIDE_INTERNAL:
            if first is None:
                found.append(f"{path} is all internal: take it from the list of exceptions")
        elif first is not None:
            found.append(f'{path}: not in a namespace internal: "{first}"')
    return found


def shared_by_build(build_files):
    """Build files of `bench` that name a file of `tests`, or the other way round."""
    found = []
    for path, text in sorted(build_files.items()):
        for here, there in (("bench", "tests"), ("tests", "bench")):
            names = re.findall(rf"(?:PROJECT_SOURCE_DIR\}}/|\.\./){there}/[\w./]+", text)
            if path.startswith(here + "/") and names:
                found.append(f"{path} names {names[0]}")
    return found
