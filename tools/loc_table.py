# SPDX-License-Identifier: GPL-2.0-or-later
"""The catalogue of texts and the languages, read from the sources that own them."""

import dataclasses
import re

import sources

ROWS = "tfs_common/catalogue_rows.inc"
LANGUAGES = "tfs_common/language_rules.cpp"

INCLUDE = re.compile(r"^#include <([^>]+\.inc)>", re.MULTILINE)
COMMENT = re.compile(r"^//.*$", re.MULTILINE)
LITERAL = r'"(?:[^"\\\n]|\\.)*"'
FORM = rf"{LITERAL}(?:\s*{LITERAL})*"
ROW = re.compile(rf"\s*X\((\d+), (\w+),\s*({FORM})(?:,\s*({FORM}))?\)")
ESCAPE = re.compile(r"\\(.)")
ESCAPES = {"n": "\n", "t": "\t", '"': '"', "\\": "\\"}
LANGUAGE = re.compile(r'\{"([a-z-]+)", \{(\d+), \w+\}\}')


class TableError(Exception):
    """The sources don't read as a table."""


@dataclasses.dataclass(frozen=True)
class Row:
    number: int
    key: str
    forms: tuple  # of English texts: one, or singular and plural

    @property
    def is_plural(self):
        return len(self.forms) > 1


def text_of(literals):
    """The text of adjacent string literals."""
    parts = []
    for literal in re.findall(LITERAL, literals):
        for letter in ESCAPE.findall(literal):
            if letter not in ESCAPES:
                raise TableError(f"escape \\{letter} in {literal}")
        parts.append(ESCAPE.sub(lambda match: ESCAPES[match.group(1)], literal[1:-1]))
    return "".join(parts)


def rows_in(text, name):
    """The rows of one file."""
    text = COMMENT.sub("", text)
    rows = []
    position = 0
    while text[position:].strip():
        match = ROW.match(text, position)
        if not match:
            raise TableError(f"{name}: no row at: {text[position:].strip()[:60]!r}")
        forms = tuple(text_of(form) for form in match.group(3, 4) if form)
        rows.append(Row(int(match.group(1)), match.group(2), forms))
        position = match.end()
    return rows


def rows():
    """All rows, sorted by number."""
    found = []
    for name in INCLUDE.findall(sources.read(ROWS)):
        found += rows_in(sources.read(name), name)
    if not found or [row.number for row in found] != list(range(len(found))):
        raise TableError(f"{ROWS}: the numbers of the rows are not dense")
    return found


def languages():
    """Language name to number of plural forms."""
    found = {name: int(amount) for name, amount in LANGUAGE.findall(sources.read(LANGUAGES))}
    if not found:
        raise TableError(f"{LANGUAGES}: no languages")
    return found


def language_of(stem, known):
    """Which of the known languages a .loc file's name without its suffix means, or None where no locale name leads to
    such a file: files are named by the language (zh-hans) or by the territory as in a locale name (zh_CN)."""
    territory = re.fullmatch(r"([a-z]+)_[A-Z]+", stem)
    if territory:
        stem = "zh-hans" if territory.group(1) == "zh" else territory.group(1)
    return stem if stem in known else None
