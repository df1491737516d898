"""Checks that a guide shows its examples' files unchanged: each line that is the name of a file, in
backquotes, is followed by the whole file.

Usage: check_guide.py GUIDE DIRECTORY NUMBER_OF_FILES
"""
import pathlib
import re
import sys

guide = pathlib.Path(sys.argv[1]).read_text()
shown = re.findall(r"^`([^`\n]+)`\n\n```\w+\n(.*?)^```$", guide, re.M | re.S)
for name, text in shown:
    if (pathlib.Path(sys.argv[2]) / name).read_text() != text:
        sys.exit(f"{sys.argv[1]} does not show {name} as it is")
if len(shown) != int(sys.argv[3]):
    sys.exit(f"{sys.argv[1]} shows {len(shown)} files: {[name for name, _ in shown]}")
