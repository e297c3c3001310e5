#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Keeps the walls between the project's folders: who may include whom, and which library belongs where.

Usage: check_includes.py             checks the project
       check_includes.py --self-test checks the check
"""

import os
import posixpath
import re
import sys
import tempfile

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

INCLUDE = re.compile(r"^[ \t]*#[ \t]*(?:include|include_next|import)\b[ \t]*(.*)", re.MULTILINE)
HEADER = re.compile(r"<([^>]+)>|\"([^\"]+)\"")
HEADER_SUFFIXES = (".h", ".hpp", ".hh", ".inc", ".ipp")
COMPILED_SUFFIXES = (".cpp", ".cc", ".cxx", ".c")
BUILD_FILES = ("CMakeLists.txt", ".cmake")
BUILD_WORD = re.compile(r"[^\s()\";]+")
TOP_FOLDER = re.compile(r"^\$\{(?:CMAKE|PROJECT)_SOURCE_DIR\}/")
THIS_FOLDER = re.compile(r"^\$\{CMAKE_CURRENT_(?:SOURCE|LIST)_DIR\}/")
SOME_FOLDER = re.compile(r"^\$\{\w+\}/")


def row_of(path):
    """The row of the table for a source file, or None outside the house."""
    rows = [folder for folder in ALLOWED if path.startswith(folder + "/")]
    return max(rows, key=len) if rows else None


def include_problems(path, text):
    """Lines that break a wall, for one source file."""
    problems = []
    for match in INCLUDE.finditer(text):
        line = text.count("\n", 0, match.start()) + 1
        header = HEADER.match(match.group(1))
        if header is None:
            problems.append(f"{path}:{line}: an include must name its header: {match.group(1)}")
            continue
        problems += [f"{path}:{line}: {header.group(0)}: {problem}" for problem in header_problems(path, header)]
    return problems


def header_problems(path, match):
    quoted, header = match.group(2) is not None, match.group(1) or match.group(2)
    for pattern, places, name in LIBRARIES:
        if pattern.search(header) and not path.startswith(places):
            yield f"{name} doesn't belong here"
    parts = header.split("/")
    if ".." in parts or header.startswith("/"):
        yield "headers are named from the top folder"
    if header.endswith(COMPILED_SUFFIXES):
        yield "sources are compiled, not included"
    row = row_of(path)
    if row is None:
        return
    if quoted:
        yield "headers stand in angle brackets"
    if len(parts) > 1 and parts[0] in ROOMS and not room_allowed(path, row, header):
        yield f"{row}/ may not include it"


def room_allowed(path, row, header):
    if header.split("/")[0] != path.split("/")[0]:
        return any(header.startswith(folder + "/") for folder in ALLOWED[row])
    if not path.startswith("platform/"):
        return True
    # Modules are shared libraries of their own: of another one's headers none is at hand.
    return header.startswith(("platform/common/", "/".join(path.split("/")[:2]) + "/"))


def named_source(folder, word):
    """The path, from the top folder, of what a word of a build file in `folder` names."""
    if TOP_FOLDER.match(word):
        return posixpath.normpath(TOP_FOLDER.sub("", word))
    word = THIS_FOLDER.sub("", word)
    if SOME_FOLDER.match(word):
        return posixpath.normpath(SOME_FOLDER.sub("", word))
    return posixpath.normpath(posixpath.join(folder, word))


def build_file_problems(path, text):
    """A test links the library that holds production code and never lists its sources, by whatever command."""
    problems = []
    for number, line in enumerate(text.splitlines(), 1):
        for word in BUILD_WORD.findall(line.split("#")[0]):
            if word.endswith(COMPILED_SUFFIXES) \
                    and named_source(posixpath.dirname(path), word).split("/")[0] in ROOMS:
                problems.append(f"{path}:{number}: a test lists the production source {word}")
    return problems


def project_problems(paths, read):
    """The problems of all files that `paths` names; `read` gives a file's text."""
    problems = []
    for path in paths:
        if path.endswith(HEADER_SUFFIXES + COMPILED_SUFFIXES):
            if row_of(path) is None and not path.startswith(FREE):
                problems.append(f"{path}: source in no room")
            problems += include_problems(path, read(path))
        elif path.endswith(BUILD_FILES) and path.startswith(FREE):
            problems += build_file_problems(path, read(path))
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
    ("control/a.cpp", '#include "../gui/a.h"\n', 2),
    ("control/a.cpp", "// #include <QObject> is only told of\n", 0),
    ("gui/a.cpp", '#include "service/app/app.h"\n', 2),
    ("gui/a.cpp", '#include "gui/common/a.h"\n', 1),
    ("gui/a.cpp", '#include "a.h"\n', 1),
    ("service/app/a.cpp", '#include "kj/async.h"\n', 2),
    ("service/app/a.cpp", '#import "gui/a.h"\n', 2),
    ("service/app/a.cpp", "#include TESL_HEADER\n", 1),
    ("service/app/a.cpp", "#include/**/<gui/a.h>\n", 1),
    ("service/app/a.cc", "#include <gui/a.h>\n", 1),
    ("service/app/a.cpp", "#include </opt/gui/a.h>\n", 1),
    ("helpers/a.h", "#include <gui/a.h>\n", 1),
    ("helpers/a.h", '#include "sqlite3.h"\n', 2),
    ("tests/unit/service/a.cpp", "#include <service/app/app.h>\n#include <sqlite3.h>\n", 0),
    ("tests/unit/service/a.cpp", '#include "fixture.h"\n', 0),
    ("tests/unit/service/a.cpp", "#include <service/app/app.cpp>\n", 1),
    ("tests/unit/control/a.cpp", "#include <QObject>\n", 1),
    ("tests/unit/x/CMakeLists.txt", "tesl_unit_test(a SOURCES a_test.cpp ../y/fake.cpp DEPENDS tesl_control)", 0),
    ("tests/unit/x/CMakeLists.txt", "# never ../../../control/escape.cpp\n", 0),
    ("tests/unit/x/CMakeLists.txt", "tesl_unit_test(a SOURCES a.cpp ${CMAKE_SOURCE_DIR}/control/escape.cpp)", 1),
    ("tests/unit/x/CMakeLists.txt", "add_executable(a a.cpp ../../../service/app/app.cpp)", 1),
    ("tests/unit/x/CMakeLists.txt", "target_sources(a PRIVATE\n    ../../../service/app/app.cpp)", 1),
    ("tests/unit/x/CMakeLists.txt", "target_sources(a PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/../../../gui/a.cpp)", 1),
    ("tests/unit/x/CMakeLists.txt", 'set(more "${TESL_TOP}/gui/a.cpp;a.cpp")', 1),
    ("tests/unit/x/CMakeLists.txt", "file(GLOB all ../../../scanner/*.cpp)", 1),
    ("bench/x/more.cmake", "add_library(a OBJECT ${PROJECT_SOURCE_DIR}/wire/a.cpp)", 1),
    ("service/CMakeLists.txt", "target_sources(a PRIVATE app/app.cpp)", 0),
]


def write_and_check(path, text):
    """The problems of a project that is this one file, on the disk."""
    with tempfile.TemporaryDirectory() as top:
        os.makedirs(os.path.join(top, os.path.dirname(path)))
        with open(os.path.join(top, path), "w", encoding="utf-8") as file:
            file.write(text)
        paths = [os.path.relpath(os.path.join(folder, name), top)
                 for folder, _, names in os.walk(top) for name in names]
        return project_problems(paths, lambda name: sources.read(name, top))


def self_test_problems():
    problems = []
    for path, text, wanted in SELF_TEST:
        found = write_and_check(path, text)
        if len(found) != wanted:
            problems.append(f"self-test: {path} with {text!r} gave {found}, not {wanted} problem(s)")
    return problems


if __name__ == "__main__":
    sources.finish(self_test_problems() if sys.argv[1:] == ["--self-test"]
                   else project_problems(sources.files(), sources.read))
