#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Keeps the walls between the project's folders: who may include whom, and which library belongs where.

Usage: check_includes.py             checks the project
       check_includes.py --self-test checks the check
"""

import re
import sys

import sources

# A folder's own headers are always allowed. The longest matching row counts.
GROUND = ["foundation", "contract"]
TFS = ["tfs_utils", "tfs_common"]
ALLOWED = {
    "foundation": [],
    "contract": ["foundation"],
    "tfs_utils": GROUND,
    "tfs_common": GROUND + ["tfs_utils"],
    "wire": GROUND,
    "platform": GROUND,
    "platform/remoting": GROUND + ["wire"],
    "remote": GROUND + TFS,
    "remote_actions": GROUND + TFS,
    "gui": GROUND + TFS + ["remote", "remote_actions"],
    "control": GROUND + TFS + ["remote", "remote_actions"],
    "service": GROUND + TFS,
    "service/rpc": GROUND + TFS + ["wire"],
    "scanner": GROUND,
}
# These may look into every room.
FREE = ("tests/", "bench/")
ROOMS = sorted({folder.split("/")[0] for folder in ALLOWED})

# Headers of a library: pattern, the only places that may include it, its name.
LIBRARIES = [
    (re.compile(r"^(capnp|kj)/|\.capnp\.h$"),
     ("wire/", "platform/remoting/", "service/rpc/", "tests/unit/remoting/", "tests/unit/wire/", "tests/fuzz/",
      "bench/"), "Cap'n Proto"),
    (re.compile(r"^sqlite3\.h$"),
     ("service/store/event_database", "service/store/sqlite", "platform/key_value_storage/key_value_file",
      "tests/unit/service/", "tests/unit/platform/", "bench/"), "SQLite"),
    (re.compile(r"^clamav\.h$"), ("scanner/", "tests/unit/scanner/", "bench/"), "the engine"),
    (re.compile(r"^Q[A-Za-z]|^Qt[A-Z]|^qt|^q[a-z]+\.h$"), ("gui/", "tests/unit/gui/", "tests/qml/", "bench/"), "Qt"),
]

INCLUDE = re.compile(r'^[ \t]*#[ \t]*(?:include|import)[ \t]*([<"])([^>"]+)[>"]', re.MULTILINE)
SOURCE_SUFFIXES = (".cpp", ".h", ".c", ".hpp", ".inc")
TEST_TARGET = re.compile(r"\b(tesl_unit_test|add_executable)\s*\(([^)]*)\)", re.DOTALL)


def row_of(path):
    """The row of the table for a source file, or None outside the house."""
    rows = [folder for folder in ALLOWED if path.startswith(folder + "/")]
    return max(rows, key=len) if rows else None


def include_problems(path, text):
    """Lines that break a wall, for one source file."""
    problems = []
    row = row_of(path)
    for match in INCLUDE.finditer(text):
        quoted, header = match.group(1) == '"', match.group(2)
        line = text.count("\n", 0, match.start()) + 1
        where = f"{path}:{line}: <{header}>"
        for pattern, places, name in LIBRARIES:
            if pattern.search(header) and not path.startswith(places):
                problems.append(f"{where}: {name} doesn't belong here")
        if ".." in header.split("/"):
            problems.append(f"{where}: headers are named from the top folder")
        room = header.split("/")[0]
        if row is None or quoted or "/" not in header or room not in ROOMS:
            continue
        if not room_allowed(path, row, header):
            problems.append(f"{where}: {row}/ may not include it")
    return problems


def room_allowed(path, row, header):
    if header.split("/")[0] != path.split("/")[0]:
        return any(header.startswith(folder + "/") for folder in ALLOWED[row])
    if not path.startswith("platform/"):
        return True
    # Modules are shared libraries of their own: of another one's headers none is at hand.
    return header.startswith(("platform/common/", "/".join(path.split("/")[:2]) + "/"))


def test_target_problems(path, text):
    """A test links the library that holds production code and never lists its sources."""
    problems = []
    for match in TEST_TARGET.finditer(text):
        for word in match.group(2).split():
            plain = word.replace("${CMAKE_SOURCE_DIR}/", "").replace("${PROJECT_SOURCE_DIR}/", "")
            while plain.startswith("../"):
                plain = plain[3:]
            if plain.endswith((".cpp", ".c")) and plain.split("/")[0] in ROOMS and "/" in plain \
                    and (plain != word):
                problems.append(f"{path}: test target lists the production source {word}")
    return problems


def project_problems():
    problems = []
    for path in sources.files():
        if path.endswith(SOURCE_SUFFIXES) and (row_of(path) or path.startswith(FREE)):
            problems += include_problems(path, sources.read(path))
        elif path.startswith(FREE) and path.endswith("CMakeLists.txt"):
            problems += test_target_problems(path, sources.read(path))
    return problems


SELF_TEST = [
    # path, text, number of problems
    ("gui/a.cpp", "#include <foundation/object.h>\n#include <QObject>\n", 0),
    ("gui/a.cpp", "#include <service/app/app.h>\n", 1),
    ("gui/a.cpp", "#include <wire/records.h>\n", 1),
    ("gui/common/a.h", "  #  include <platform/remoting/session.h>\n", 1),
    ("service/tasks/a.cpp", "#include <service/store/event_feed.h>\n#include <QtCore/QString>\n", 1),
    ("service/tasks/a.cpp", "#include <gui/common/a.h>\n", 1),
    ("service/tasks/a.cpp", "#include <wire/records.h>\n", 1),
    ("service/rpc/a.cpp", "#include <wire/records.h>\n#include <capnp/rpc.h>\n", 0),
    ("service/app/a.cpp", "#include <kj/async.h>\n", 1),
    ("contract/tfs/a.h", "#include <tfs_common/config_data.h>\n", 1),
    ("foundation/a.cpp", "#include <contract/tfs/event.h>\n", 1),
    ("platform/loader/a.cpp", "#include <platform/common/module_entry.h>\n", 0),
    ("platform/loader/a.cpp", "#include <platform/remoting/session.h>\n", 1),
    ("platform/remoting/a.cpp", "#include <wire/a.capnp.h>\n#include <platform/remoting/b.h>\n", 0),
    ("remote/a.cpp", "#include <sqlite3.h>\n", 1),
    ("service/store/event_database.cpp", "#include <sqlite3.h>\n", 0),
    ("service/scan/a.cpp", "#include <clamav.h>\n", 1),
    ("scanner/a.cpp", "#include <clamav.h>\n#include <service/scan/scan_run.h>\n", 1),
    ("control/a.cpp", "#include <qstring.h>\n", 1),
    ("control/a.cpp", '#include "../gui/a.h"\n', 1),
    ("control/a.cpp", "// #include <QObject> is only told of\n", 0),
    ("tests/unit/service/a.cpp", "#include <service/app/app.h>\n#include <sqlite3.h>\n", 0),
    ("tests/unit/control/a.cpp", "#include <QObject>\n", 1),
]
SELF_TEST_TARGETS = [
    ("tesl_unit_test(a SOURCES a_test.cpp DEPENDS tesl_control)", 0),
    ("tesl_unit_test(a SOURCES a_test.cpp ${CMAKE_SOURCE_DIR}/control/escape.cpp)", 1),
    ("add_executable(a a.cpp ../../../service/app/app.cpp)", 1),
]


def self_test_problems():
    problems = []
    for path, text, wanted in SELF_TEST:
        found = include_problems(path, text)
        if len(found) != wanted:
            problems.append(f"self-test: {path} with {text!r} gave {found}, not {wanted} problem(s)")
    for text, wanted in SELF_TEST_TARGETS:
        found = test_target_problems("tests/unit/x/CMakeLists.txt", text)
        if len(found) != wanted:
            problems.append(f"self-test: {text!r} gave {found}, not {wanted} problem(s)")
    return problems


if __name__ == "__main__":
    sources.finish(self_test_problems() if sys.argv[1:] == ["--self-test"] else project_problems())
