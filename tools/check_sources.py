#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Small rules that every file keeps. Usage: check_sources.py RULE; without an argument the rules are listed."""

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
    r"""|\bQt\.(?:rgba|hsla|hsva)\s*\("""
    r"""|\b\w*[cC]olor\w*\s*:\s*["'](?!transparent["'])[a-z]+["']""")
# A length or a time that is a plain number; a multiple of a named one is not.
SIZE = re.compile(
    r"""\b(?:pixelSize|pointSize|lineHeight|spacing|radius|duration|interval|border\.width"""
    r"""|(?:\w+[WH]|w|h)(?:idth|eight)|\w*[mM]argins?|\w*[pP]adding)\s*:\s*"""
    r"""-?(?!0\b(?!\.))\d+(?:\.\d+)?(?!\s*[*\d.])"""
    r"""|\bQt\.size\(\s*[1-9]""")
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


def sizes():
    """So do the sizes of letters and controls, and the times of movements."""
    yield from lines_with(SIZE, pages())


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


RULES = {rule.__name__: rule
         for rule in (licence, length, mains, colours, sizes, words, sample, machine, executable)}

if __name__ == "__main__":
    if len(sys.argv) == 1:
        print("\n".join(RULES))
    else:
        sources.finish(list(RULES[sys.argv[1]]()))
