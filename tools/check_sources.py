#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Small rules that every file keeps.

Usage: check_sources.py RULE; without an argument the rules are listed.
       check_sources.py --self-test checks the rules of how pages look."""

import os
import re
import stat
import sys

import sources

CODE = (".cpp", ".h", ".qml", ".js", ".py", ".sh", ".cmake", ".capnp", "CMakeLists.txt")
# Tables: rows of data in the form of source.
LONG_ALLOWED = ("contract/tfs/value_tables.cpp", "contract/tfs/value_tables.h", "tfs_common/catalogue_rows.inc")
LONGEST = 500
LONGEST_MAIN = 45
SPDX = "SPDX-License-Identifier: GPL-2.0-or-later"
LOOK_HOME = "CommonProperties.js"
COLOUR = re.compile(
    r"""["']\#[0-9A-Fa-f]{3,8}["']"""
    r"""|\bQt\.(?:rgba|hsla|hsva|lighter|darker|tint|alpha|color)\s*\("""
    r"""|["'](?:black|white|gr[ae]y|silver|red|maroon|orange|yellow|gold|olive|lime|green|teal|aqua|cyan|blue|navy"""
    r"""|indigo|violet|purple|magenta|fuchsia|pink|brown|beige|(?:light|dark)[a-z]+)["']"""
    r"""|\b\w*[cC]olor\w*\s*:\s*["'](?!transparent["'])[a-z]+["']""")
# A length or a time that is a plain number; a multiple of a named one is not.
SIZE = re.compile(
    r"""\b(?:pixelSize|pointSize|lineHeight|lineWidth|spacing|radius|duration|interval|border\.width"""
    r"""|(?:\w+[WH]|w|h)(?:idth|eight)|\w*[mM]argins?|\w*[pP]adding|\w*Offset|[xy])\s*[:=]\s*"""
    r"""-?(?!0\b(?!\.))\d+(?:\.\d+)?(?!\s*[*\d.])"""
    r"""|\bQt\.(?:size|rect|point)\(\s*[1-9]""")
# Nothing else has a number of its own but what it is counted by, percent and turns; the number of a thing isn't a size.
NUMBER = re.compile(r"(?<![\w.])\d+(?:\.\d+)?(?![\w.])")
PLAIN_NUMBERS = (0, 1, 2, 100, 180, 360)
IDENTITY = re.compile(r"\bproperty int \w+Id:")
NOT_CODE = re.compile(r"""^\s*import .*|//.*|"[^"]*"|'[^']*'|/[^/\s][^/]*/[a-z]*""")
# Written in two pieces, so that this file keeps its own rules.
WORDS = re.compile(r"\b(?:sp" + r"ec|specific" + r"ation)\b|\bPar" + r"ts? [0-9]+\.[0-9]+", re.IGNORECASE)
FORMAT_ERROR = "Format sp" + "ecification is too long"  # a text of an exception, fixed long ago
SAMPLE = "EICAR-STANDARD-" + "ANTIVIRUS-TEST-FILE"
MACHINE = re.compile(r"/wo" + r"rk/(?:main|shared)|/tmp/b-[a-z]|de" + r"b\.debian\.org")
MAIN = re.compile(r"^int main\([^)]*\)[^{;]*\{.*?^\}", re.MULTILINE | re.DOTALL)


def is_text(path):
    with open(os.path.join(sources.TOP, path), "rb") as file:
        return b"\0" not in file.read(8192)


def lines_with(pattern, paths):
    for path in paths:
        for number, line in enumerate(sources.read(path).splitlines(), 1):
            if pattern.search(line):
                yield f"{path}:{number}: {line.strip()[:120]}"


def licence():
    """Each source file names its licence in its first two lines."""
    for path in sources.files():
        if path.endswith(CODE) or path in ("run.sh", "test.sh", ".ci/run"):
            if SPDX not in "\n".join(sources.read(path).split("\n")[:2]):
                yield f"{path}: no licence line"


def length():
    """A source file has at most 500 lines; tables excepted."""
    for path in sources.with_suffix(*CODE):
        count = sources.read(path).count("\n")
        if count > LONGEST and path not in LONG_ALLOWED:
            yield f"{path}: {count} lines"


def mains():
    """Programs are a short main over a library."""
    for path in sources.with_suffix(".cpp"):
        if path.startswith(("tests/", "bench/")):
            continue
        for match in MAIN.finditer(sources.read(path)):
            count = match.group().count("\n") + 1
            if count > LONGEST_MAIN:
                yield f"{path}: main has {count} lines"


def pages():
    return [path for path in sources.with_suffix(".qml", ".qml.in", ".js")
            if path.startswith("gui/") and not path.endswith(LOOK_HOME)]


def colours():
    """Colours stand in one script and nowhere else."""
    yield from lines_with(COLOUR, pages())


def has_size(line):
    """Whether a line of a page says how large or how long something is."""
    code = NOT_CODE.sub("", line)
    if SIZE.search(code):
        return True
    return not IDENTITY.search(code) and any(float(number) not in PLAIN_NUMBERS for number in NUMBER.findall(code))


def sizes():
    """So do the sizes of letters and controls, and the times of movements."""
    for path in pages():
        for number, line in enumerate(sources.read(path).splitlines(), 1):
            if has_size(line):
                yield f"{path}:{number}: {line.strip()[:120]}"


def words():
    """Words that belong to issues alone."""
    for hit in lines_with(WORDS, [path for path in sources.files() if is_text(path) and not path.endswith(".svg")]):
        if WORDS.search(hit.replace(FORMAT_ERROR, "")):
            yield hit


def sample():
    """The standard anti-malware test file is put together at run time and never stored."""
    for path in sources.files():
        with open(os.path.join(sources.TOP, path), "rb") as file:
            if SAMPLE.encode() in file.read():
                yield f"{path}: holds the anti-malware test text in plain"


def machine():
    """Nothing names a path of one machine."""
    yield from lines_with(MACHINE, [path for path in sources.files() if is_text(path)])


def executable():
    """What is run by its name has its run bit; what isn't hasn't."""
    for path in sources.files():
        mode = os.stat(os.path.join(sources.TOP, path)).st_mode
        begins = sources.read(path)[:2] if is_text(path) else ""
        if (begins == "#!") != bool(mode & stat.S_IXUSR):
            yield f"{path}: run bit and first line don't agree"


# A line of a page, whether it holds a colour, whether a size.
SELF_TEST = (
    ("width: 27 * 8", False, True), ("x: 12", False, True), ("anchors.verticalCenterOffset: -20", False, True),
    ("property int foo: 12", False, True), ("property int fooId: 12", False, False), ("opacity: 0.4", False, True),
    ("width: parent.width - 40", False, True), ("height: Math.max(43, h)", False, True),
    ("duration: a ? 500 : 200", False, True), ("context.lineWidth = 3;", False, True), ("spacing: 2", False, True),
    ("Qt.size(1, 1)", False, True), ("x: CommonProperties.unit / 2", False, False), ("y: 0", False, False),
    ("width: 2 * CommonProperties.unit", False, False), ("opacity: 1", False, False), ("to: 100", False, False),
    ("import QtQuick 2.15", False, False), ("const half = length / 2; // 17 of them", False, False),
    ("rotation: expanded ? 180 : 0", False, False), ('text: "12 items"', False, False),
    ("color: Qt.lighter(tone)", True, False), ('context.fillStyle = "red";', True, False),
    ('background: "white"', True, False), ('property color tone: "#fff"', True, False),
    ('color: "tomato"', True, False), ('color: "transparent"', False, False), ('state: "active"', False, False),
    ('value.replace(/#[0-9]+/g, "")', False, False))


def self_test_problems():
    for line, colour, size in SELF_TEST:
        found = (bool(COLOUR.search(line)), has_size(line))
        if found != (colour, size):
            yield f"self-test: {line!r} gave {found}, not {(colour, size)}"


RULES = {rule.__name__: rule
         for rule in (licence, length, mains, colours, sizes, words, sample, machine, executable)}

if __name__ == "__main__":
    if len(sys.argv) == 1:
        print("\n".join(RULES))
    elif sys.argv[1:] == ["--self-test"]:
        sources.finish(list(self_test_problems()))
    else:
        sources.finish(list(RULES[sys.argv[1]]()))
