# SPDX-License-Identifier: GPL-2.0-or-later
"""The help of tesl-control, taken apart: usage, paragraphs, and tables of terms with their explanations."""

import dataclasses
import re

TERM = re.compile(r"^ {2,4}(\S.*?)(?: {2,}(\S.*))?$")
EXAMPLE = "Example:"


@dataclasses.dataclass
class Block:
    """A part between two empty lines."""
    title: str  # of a table; empty for none
    rows: list  # of a table: pairs of term and text
    lines: list  # of a paragraph, as they stand

    @property
    def text(self):
        return " ".join(line.strip() for line in self.lines)


def table(lines):
    rows = []
    for line in lines:
        indent = len(line) - len(line.lstrip())
        match = TERM.match(line)
        if indent > 4 or not match:  # goes on with the row before
            term, text = rows[-1]
            rows[-1] = (term, f"{text} {line.strip()}")
        else:
            rows.append((match[1], match[2] or ""))
    return rows


def block_of(text):
    lines = text.split("\n")
    title = lines[0] if lines[0].endswith(":") and len(lines) > 1 else ""
    body = lines[1:] if title else lines
    if title == EXAMPLE or not body[0].startswith("  "):
        return Block(title, [], body)
    return Block(title, table(body), [])


def usage_of(help_text):
    """The lines of the usage, without the word before the first one."""
    first = help_text.split("\n\n", 1)[0]
    return [line.strip() for line in first.removeprefix("Usage: ").split("\n")]


def blocks_of(help_text):
    """What stands below the usage."""
    return [block_of(text) for text in help_text.rstrip("\n").split("\n\n")[1:]]


def explanations(help_text):
    """Texts of the options in all tables of a help, by the option's name."""
    found = {}
    for block in blocks_of(help_text):
        for term, text in block.rows:
            for name in re.findall(r"--[a-z-]+", term):
                found[name] = text
    return found
