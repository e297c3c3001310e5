#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Writes the completion of tesl-control for bash and zsh and its manual page from its table of commands.

Usage: make_control_docs.py TABLE FOLDER   TABLE is what the build's tesl-control-describe writes"""

import json
import os
import sys

import control_completion
import control_help


def roff(text):
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return "\\&" + text if text.startswith((".", "'")) else text


def literal(lines):
    return [".nf", *(roff(line) for line in lines), ".fi"]


def tabulated(rows):
    lines = []
    for term, text in rows:
        lines += [".TP", f".B {roff(term)}", roff(text)]
    return lines


def body_of(blocks):
    lines = []
    for block in blocks:
        if block.title == control_help.EXAMPLE:
            lines += [".PP", roff(block.title), *literal(block.lines)]
        elif block.rows:
            lines += tabulated(block.rows)
        else:
            lines += [".PP", roff(block.text)]
    return lines


def overview_of(document):
    """Description, commands in their groups, exit codes."""
    blocks = control_help.blocks_of(document["overview"])
    lines = [".SH DESCRIPTION", *body_of([block for block in blocks if not block.rows]), ".SH COMMANDS"]
    exits = []
    for block in (block for block in blocks if block.rows):
        if block.rows[0][0].isdigit():
            exits = [".SH EXIT STATUS", *tabulated(block.rows)]
        else:
            lines += [f".SS {roff(block.title.rstrip(':'))}", *tabulated(block.rows)]
    return lines, exits


def details_of(document):
    """The help of each command; kindred commands have one."""
    lines = [".SH DETAILS"]
    told = {document["overview"]}
    for command in document["commands"]:
        text = command["help"]
        if text in told or command["option"] == "--version":
            continue
        told.add(text)
        options = [each["option"] for each in document["commands"] if each["help"] == text]
        lines += [f".SS {roff(', '.join(options))}", *literal(control_help.usage_of(text)),
                  *body_of(control_help.blocks_of(text))]
    return lines


def manual(document):
    commands, exits = overview_of(document)
    return "\n".join([
        '.\\" SPDX-License-Identifier: GPL-2.0-or-later',
        f'.TH TESL\\-CONTROL 1 "" "Tolvander Endpoint Security {document["version"]}" "User Commands"',
        ".SH NAME",
        "tesl\\-control \\- control the protection service from the command line",
        ".SH SYNOPSIS",
        *literal(control_help.usage_of(document["overview"])),
        *commands, *details_of(document), *exits]) + "\n"


def main(arguments):
    if len(arguments) != 2:
        sys.exit(__doc__)
    table, folder = arguments
    with open(table, encoding="utf-8") as file:
        document = json.load(file)
    for name, text in (("tesl-control", control_completion.bash(document)),
                       ("_tesl-control", control_completion.zsh(document)),
                       ("tesl-control.1", manual(document))):
        with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
            file.write(text)


if __name__ == "__main__":
    main(sys.argv[1:])
