#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Holds .loc files against the catalogue: all keys once and no others, the shape and the number of plural forms of the
language that the file's name tells, and in every form the same placeholders, markup and outer blanks as in English.

Usage: check_loc.py FILE...
       check_loc.py --self-test"""

import json
import os
import re
import sys
import unicodedata

import loc_table
import sources

DIRECTIVE = re.compile(r"%(?:%|[1-9]\$s|[sd])?")
DATE_FIELD = re.compile(r"%(.?)", re.DOTALL)
# What a date shows, and the fields that show it.
DATE_PARTS = {"day": "de", "month": "mbB", "year": "yY", "hour": "HI", "minute": "M"}
DATE_EXTRAS = "aApS%"
TAG = re.compile(r"</?[A-Za-z][^<>]*>?|&#?\w+;")
OUTER_BLANKS = re.compile(r"^(\s*).*?(\s*)$", re.DOTALL)


class DocumentError(Exception):
    """The file isn't a document that could be looked at entry by entry."""


class Members(list):
    """An object's members in the order of the file, repeated ones too."""


def is_date(english):
    """Texts for the date formatter name a year; no directive of a format does."""
    return "%Y" in english


def date_parts(text):
    return {part for part, fields in DATE_PARTS.items() if any("%" + field in text for field in fields)}


def date_problems(english, text):
    known = "".join(DATE_PARTS.values()) + DATE_EXTRAS
    for field in DATE_FIELD.findall(text):
        if not field or field not in known:
            yield f"%{field} is no date field"
    wrong = date_parts(english) ^ date_parts(text)
    if wrong:
        yield f"{', '.join(sorted(wrong))}: only one of the two dates shows it"


def placeholders(text):
    """What a text asks for: positional directives may be repeated, plain ones take a value each."""
    found = [directive for directive in DIRECTIVE.findall(text) if directive not in ("%", "%%")]
    return sorted({directive for directive in found if "$" in directive}) + \
        sorted(directive for directive in found if "$" not in directive)


def placeholder_problems(english, text):
    wanted, found = placeholders(english), placeholders(text)
    if wanted != found:
        yield f"placeholders {' '.join(found) or 'none'} instead of {' '.join(wanted) or 'none'}"
    for directive in DIRECTIVE.findall(text):
        if directive == "%":
            yield "a lone %"
        elif directive == "%%" and not wanted:
            yield "%% in a text that is shown as it stands"


def character_problems(english, text):
    for character in sorted(set(text)):
        if unicodedata.category(character) == "Cc" and not (character == "\n" and "\n" in english):
            yield f"control character U+{ord(character):04X}"
        elif unicodedata.category(character) == "Cs" or character == "\N{REPLACEMENT CHARACTER}":
            yield f"broken character U+{ord(character):04X}"


def form_problems(english, text):
    """What is wrong with one form of a text."""
    if not text:
        yield "empty"
        return
    yield from character_problems(english, text)
    yield from (date_problems if is_date(english) else placeholder_problems)(english, text)
    if TAG.findall(text) != TAG.findall(english):
        yield f"markup {TAG.findall(text)} instead of {TAG.findall(english)}"
    if OUTER_BLANKS.match(text).groups() != OUTER_BLANKS.match(english).groups():
        yield "other blanks at the beginning or the end"


def entry_problems(row, value, amount):
    """What is wrong with the value of a key in a language of so many plural forms."""
    if not row.is_plural:
        if not isinstance(value, str):
            return ["not a text"]
        return list(form_problems(row.forms[0], value))
    if not isinstance(value, list) or len(value) != amount or not all(isinstance(form, str) for form in value):
        return [f"not an array of {amount} text(s)"]
    return [f"form {index}: {problem}" for index, form in enumerate(value)
            for problem in form_problems(row.forms[-1], form)]


def members_of(data):
    """The document's members, from the bytes of a file."""
    try:
        members = json.loads(data.decode("utf-8"), object_pairs_hook=Members)
    except UnicodeDecodeError as error:
        raise DocumentError(f"not UTF-8: {error}") from error
    except (ValueError, RecursionError) as error:
        raise DocumentError(f"not JSON: {error}") from error
    if not isinstance(members, Members):
        raise DocumentError("not a JSON object")
    return members


def file_problems(name, data, rows, languages):
    """All problems of one file, of which the name tells the language."""
    stem, suffix = os.path.splitext(os.path.basename(name))
    language = loc_table.language_of(stem, languages)
    if suffix != ".loc" or language is None:
        return [f"{name}: no locale leads to a file of this name"]
    try:
        members = members_of(data)
    except DocumentError as error:
        return [f"{name}: {error}"]
    by_key = {row.key: row for row in rows}
    seen = set()
    problems = []
    for key, value in members:
        if key in seen:
            problems.append(f"{name}: {key!r}: given more than once")
        elif key not in by_key:
            problems.append(f"{name}: {key!r}: unknown key")
        else:
            problems += [f"{name}: {key}: {problem}"
                         for problem in entry_problems(by_key[key], value, languages[language])]
        seen.add(key)
    return problems + [f"{name}: {key}: missing" for key in by_key if key not in seen]


# English text, translation, number of problems.
FORM_CASES = [
    ("Stop", "Halt: 100 \N{NO-BREAK SPACE}x < y", 0),
    ("Stop", "", 1),
    ("Stop", "Halt ", 1),
    ("Stop", "a\tb", 1),
    ("Stop", "a\nb", 1),
    ("Stop", "\ud800", 1),
    ("Stop", "a\ufffd", 1),
    ("Stop", "100%", 1),
    ("Stop", "100%%", 1),
    ("Stop", "%1$s", 1),
    ("Stop", "<b>Halt</b>", 1),
    ("Stop", "Halt<br", 1),
    ("Stop", "Halt&nbsp;!", 1),
    ("Level: ", "Niveau : ", 0),
    ("Level: ", "Niveau :", 1),
    ("One\ntwo", "Un\ndeux", 0),
    ("%1$s due to %2$s", "%2$s: %1$s", 0),
    ("%1$s due to %2$s", "%1$s, %1$s: %2$s, 50 %%", 0),
    ("%1$s due to %2$s", "%1$s", 1),
    ("%1$s due to %2$s", "%1$s %2$s %3$s", 1),
    ("%1$s due to %2$s", "%1$s %2$s, 50 %", 1),
    ("%1$s due to %2$s", "%1$s %2$d", 2),
    ("Scan of %s", "Untersuchung von %s", 0),
    ("Scan of %s", "%s: %s", 1),
    ("Scan of %s", "%1$s", 1),
    ("%d.%m.%Y %H:%M", "%Y-%m-%d %H:%M", 0),
    ("%d.%m.%Y %H:%M", "%m/%d/%y, %I:%M %p", 0),
    ("%d.%m.%Y %H:%M", "%d.%m.%Y", 1),
    ("%d.%m.%Y %H:%M", "%d.%d.%Y %H:%M", 1),
    ("%d.%m.%Y %H:%M", "%d.%m.%Y %H:%M %Q", 1),
    ("%d.%m.%Y %H:%M", "%d.%m.%Y %H:%M %", 1),
    ("%d.%m.%Y", "%d.%m.%Y %H", 1),
    ("<font color='red'>%d found.</font>", "<font color='red'>%d trouvé.</font>", 0),
    ("<font color='red'>%d found.</font>", "<font color='blue'>%d trouvé.</font>", 1),
    ("<font color='red'>%d found.</font>", "<font color='red'>%d trouvé.", 1),
]
SMALL_TABLE = [loc_table.Row(0, "Stop", ("Stop",)), loc_table.Row(1, "DaysAgo", ("%d day ago", "%d days ago"))]
SMALL_LANGUAGES = {"en": 2, "ru": 3, "ja": 1, "zh-hans": 1}
# File name, bytes, number of problems.
FILE_CASES = [
    ("en.loc", b'{"Stop":"Halt","DaysAgo":["%d d","%d ds"]}', 0),
    ("x/en_GB.loc", b'{"DaysAgo":["%d d","%d ds"],"Stop":"Halt"}', 0),
    ("zh_CN.loc", b'{"Stop":"Halt","DaysAgo":["%d"]}', 0),
    ("zh-hans.loc", b'{"Stop":"Halt","DaysAgo":["%d"]}', 0),
    ("ru.loc", b'{"Stop":"Halt","DaysAgo":["%d","%d","%d"]}', 0),
    ("ru.loc", b'{"Stop":"Halt","DaysAgo":["one day","%d","%d"]}', 1),
    ("ru.loc", b'{"Stop":"Halt","DaysAgo":["%d","%d"]}', 1),
    ("ru.loc", b'{"Stop":"Halt","DaysAgo":["%d","%d",["%d"]]}', 1),
    ("ru.loc", b'{"Stop":"Halt","DaysAgo":{"a":"%d","b":"%d","c":"%d"}}', 1),
    ("ja.loc", b'{"Stop":["Halt"],"DaysAgo":"%d"}', 2),
    ("ja.loc", b'{"Stop":1,"DaysAgo":["%d"]}', 1),
    ("ja.loc", b"{}", 2),
    ("ja.loc", b'{"Stop":"a","Stop":"b","stop":"c","DaysAgo":["%d"]}', 2),
    ("ja.loc", b'{"Stop":"a","DaysAgo":["%d"],}', 1),
    ("ja.loc", b'{"Stop":"\xe9","DaysAgo":["%d"]}', 1),
    ("ja.loc", b'\xef\xbb\xbf{"Stop":"a","DaysAgo":["%d"]}', 1),
    ("ja.loc", b"[" * 100000, 1),
    ("ja.loc", b'["Stop"]', 1),
    ("zh.loc", b"{}", 1),
    ("pt_BR.loc", b"{}", 1),
    ("en_us.loc", b"{}", 1),
    ("en.json", b"{}", 1),
]
# Source of a table, its rows; none where it must be refused.
TABLE_CASES = [
    ('// a "comment"\nX(0, A, "a")\nX(1, B,\n  "b\\n"\n  "\\"c\\"", "(d)")\n',
     [loc_table.Row(0, "A", ("a",)), loc_table.Row(1, "B", ('b\n"c"', "(d)"))]),
    ('X(0, A, "a" "b", "c", "d")\n', None),
    ('X(0, A, "a"\n', None),
    ('X(0, A, "\\x41")\n', None),
]


def rows_or_none(text):
    try:
        return loc_table.rows_in(text, "self-test")
    except loc_table.TableError:
        return None


def self_test_problems():
    for english, text, wanted in FORM_CASES:
        found = list(form_problems(english, text))
        if len(found) != wanted:
            yield f"self-test: {text!r} for {english!r} gave {found}, not {wanted} problem(s)"
    for name, data, wanted in FILE_CASES:
        found = file_problems(name, data, SMALL_TABLE, SMALL_LANGUAGES)
        if len(found) != wanted:
            yield f"self-test: {name} with {data[:80]!r} gave {found}, not {wanted} problem(s)"
    for text, wanted in TABLE_CASES:
        found = rows_or_none(text)
        if found != wanted:
            yield f"self-test: {text!r} gave {found}, not {wanted}"


def run(arguments):
    if not arguments:
        return [__doc__]
    if arguments == ["--self-test"]:
        return list(self_test_problems())
    rows, languages = loc_table.rows(), loc_table.languages()
    problems = []
    for name in arguments:
        with open(name, "rb") as file:
            problems += file_problems(name, file.read(), rows, languages)
    return problems


if __name__ == "__main__":
    sources.finish(run(sys.argv[1:]))
