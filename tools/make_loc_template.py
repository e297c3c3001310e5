#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Writes a complete .loc file for a language, with the English texts, in the order of the catalogue's numbers. A plural
text has as many forms as the language: the first is the singular, the others are the plural.

Usage: make_loc_template.py LANGUAGE [FILE]   to standard output without FILE
       make_loc_template.py --check LANGUAGE FILE   tells whether FILE is what would be written"""

import json
import sys

import loc_table
import sources


def forms_for(row, amount):
    if not row.is_plural:
        return row.forms[0]
    singular, plural = row.forms
    return [plural] if amount == 1 else [singular] + [plural] * (amount - 1)


def template(language):
    """The text of the file; None for a language that isn't supported."""
    amount = loc_table.languages().get(language)
    if amount is None:
        return None
    document = {row.key: forms_for(row, amount) for row in loc_table.rows()}
    return json.dumps(document, ensure_ascii=False, indent=2) + "\n"


def run(arguments):
    checking = arguments[:1] == ["--check"]
    arguments = arguments[1:] if checking else arguments
    if len(arguments) not in ((2,) if checking else (1, 2)):
        return [__doc__]
    text = template(arguments[0])
    if text is None:
        return [f"{arguments[0]} is not one of: {', '.join(sorted(loc_table.languages()))}"]
    if checking:
        with open(arguments[1], "rb") as file:
            if file.read() == text.encode():
                return []
        return [f"{arguments[1]}: differs from the catalogue; write it again with tools/make_loc_template.py "
                f"{arguments[0]} {arguments[1]}"]
    if len(arguments) == 1:
        sys.stdout.write(text)
    else:
        with open(arguments[1], "w", encoding="utf-8") as file:
            file.write(text)
    return []


if __name__ == "__main__":
    sources.finish(run(sys.argv[1:]))
