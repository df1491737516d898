#!/usr/bin/env python3
"""Makes a C source that takes the address of every function that headers leave to the library.

Usage: list-declared.py COMPILER... -- HEADER... >SOURCE

The compiler's syntax tree says which functions those are: declared, and neither defined in the
header, nor deleted, pure, or marked KIV_HIDDEN.
"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile

# Stands before kiv/Export.h: the syntax tree does not tell one visibility from another.
EXPORT = """#pragma once
#define KIV_EXPORT
#define KIV_HIDDEN __attribute__((annotate("hidden")))
"""
# Templates that the library instantiates and whose instances the headers only name.
INSTANCES = "".join(
    f"extern template class android::kiv::TimedAggregationManager<android::kiv::{event}>;\n"
    for event in ("KivErrorCodeEvent", "KivStreamEvent", "KivAudioLatencyEvent",
                  "KivGenericEvent<long long>", "KivGenericEvent<float>",
                  "KivGenericEvent<std::string>"))
# Classes and functions of libkivcommon's headers, which ours include.
FAMILY = ("TaskRunner", "TaskRunnerThread", "TelemetryDelegate", "TelemetryHandler",
          "logAssertionErrorCode")
# In whose names a declaration of ours is.
FILTERS = ("android::kiv", "less", "audio_format_to_string")
FUNCTIONS = ("FunctionDecl", "CXXMethodDecl", "CXXConstructorDecl", "CXXDestructorDecl",
             "CXXConversionDecl")
TEMPLATES = ("FunctionTemplateDecl", "ClassTemplateDecl")


def syntax_trees(command, headers):
    with tempfile.TemporaryDirectory() as directory:
        export = pathlib.Path(directory) / "kiv" / "Export.h"
        export.parent.mkdir()
        export.write_text(EXPORT)
        source = pathlib.Path(directory) / "source.cpp"
        source.write_text("".join(f'#include "{header}"\n' for header in headers) + INSTANCES)
        for name in FILTERS:
            text = subprocess.run(
                [command[0], f"-I{directory}", *command[1:], "-fsyntax-only", "-Xclang",
                 "-ast-dump=json", "-Xclang", f"-ast-dump-filter={name}", source],
                check=True, stdout=subprocess.PIPE, text=True).stdout.strip()
            decoder = json.JSONDecoder()
            while text:
                tree, end = decoder.raw_decode(text)
                text = text[end:].lstrip()
                yield tree


def functions(node):
    """Every function in a tree but for the patterns of templates, of which only instances count."""
    if node.get("kind") in FUNCTIONS:
        yield node
        return
    children = node.get("inner", [])
    if node.get("kind") in TEMPLATES:
        pattern = next((c for c in children if c.get("kind") in (*FUNCTIONS, "CXXRecordDecl")), None)
        children = [c for c in children if c is not pattern]
    if node.get("kind") == "ClassTemplatePartialSpecializationDecl":
        return
    for child in children:
        yield from functions(child)


def patterns(node, inside=False):
    """The functions of templates, and where they are: their instances are at the same place."""
    if node.get("kind") in FUNCTIONS and inside:
        yield node
    for child in node.get("inner", []):
        yield from patterns(child, inside or node.get("kind") in TEMPLATES)


def is_defined(node):
    return (node.get("explicitlyDefaulted") == "default" or node.get("explicitlyDeleted", False)
            or any(c.get("kind") == "CompoundStmt" for c in node.get("inner", [])))


def is_hidden(node):
    return any(c.get("kind") == "AnnotateAttr" for c in node.get("inner", []))


def place(node):
    return node.get("loc", {}).get("offset"), node.get("loc", {}).get("tokLen"), node.get("name")


def main():
    separator = sys.argv.index("--")
    trees = list(syntax_trees(sys.argv[1:separator], sys.argv[separator + 1:]))
    defined = {place(f) for tree in trees for f in patterns(tree) if is_defined(f)}
    family = "|".join(f"{len(name)}{name}" for name in FAMILY)
    ours = set()
    for tree in trees:
        for function in functions(tree):
            name = function.get("mangledName", "")
            if (not name or function.get("isImplicit") or function.get("pure")
                    or is_defined(function) or is_hidden(function) or place(function) in defined):
                continue
            if re.match(rf"_ZNK?7android3kiv({family})", name):
                continue
            if "7android3kiv" in name or name == "audio_format_to_string":
                ours.add(name)
    # An abstract class has no constructor of whole objects; that of a base is there for each.
    ours = sorted(name.replace("C1E", "C2E") for name in ours)
    print("/* Made by list-declared.py. */")
    for index, name in enumerate(ours):
        print(f'extern char function{index} __asm__("{name}");')
    print("const void* const addresses[] = {")
    print(",\n".join(f"    &function{index}" for index in range(len(ours))))
    print("};")


main()
