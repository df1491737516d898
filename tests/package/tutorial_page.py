"""Reads a tutorial: its files, its commands, and the output that it shows.

A block of a page is one of these, and nothing else:

- `NAME` alone on a line, and below it a block: the whole file. After "At the end of `NAME`:" the
  block is appended, with an empty line before it.
- A block of the language `sh`: commands. With `sh interactive`, one command that uses the terminal
  until `q` is typed.
- A block of the language `text`: the output of the commands directly above it.
"""
import dataclasses
import re


@dataclasses.dataclass
class File:
    line: int
    name: str
    text: str
    appended: bool


@dataclasses.dataclass
class Commands:
    line: int
    text: str
    interactive: bool
    output: str = ""  # "" if the page shows none


class PageError(Exception):
    pass


BLOCK = re.compile(r"^```([^\n]*)\n(.*?)^```$", re.M | re.S)
NAME = re.compile(r"^(At the end of )?`([^`\n]+)`(?(1):)\n\n\Z", re.M)


def read(page):
    """Returns the page's files and commands, in their order."""
    if re.search(r"^ {4}\S", BLOCK.sub("", page), re.M):
        raise PageError("there is an indented block")
    steps = []
    end = 0
    for block in BLOCK.finditer(page):
        between, end = page[end:block.start()], block.end()
        language, text = block.groups()
        line = page.count("\n", 0, block.start()) + 1
        name = NAME.search(between)
        if name:
            steps.append(File(line, name[2], text, bool(name[1])))
        elif language in ("sh", "sh interactive"):
            steps.append(Commands(line, text, language != "sh"))
        elif language != "text":
            raise PageError(f"line {line}: the block is neither a file nor commands")
        elif between.strip() or not steps or not isinstance(steps[-1], Commands):
            raise PageError(f"line {line}: the output is not below its commands")
        else:
            steps[-1].output = text
    return steps


def squeeze(text):
    """Makes runs of blanks one blank, since the widths of columns depend on their contents."""
    return "".join(re.sub(r"[ \t]+", " ", line).strip() + "\n" for line in text.splitlines())


def line_pattern(line):
    """A shown line as a regular expression: `…` is any text of a line."""
    return ".*".join(re.escape(part) for part in line.split("…"))


def matches(shown, output):
    """True if the output is what the page shows. A line `…` is any number of lines."""
    lines = squeeze(shown).splitlines()
    pattern = "".join("(?:.*\n)*" if line == "…" else line_pattern(line) + "\n" for line in lines)
    return re.fullmatch(pattern, squeeze(output)) is not None
