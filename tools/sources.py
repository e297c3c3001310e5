# SPDX-License-Identifier: GPL-2.0-or-later
"""The project's own files, and the way in which checks report."""

import os
import subprocess
import sys

TOP = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def files():
    """Paths of all files of the project, relative to its top folder: committed ones and those that could be."""
    listed = subprocess.run(
        ["git", "-C", TOP, "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
        check=True, stdout=subprocess.PIPE).stdout
    paths = sorted({path for path in listed.decode("utf-8", "surrogateescape").split("\0") if path})
    return [path for path in paths if os.path.isfile(os.path.join(TOP, path))]


def with_suffix(*suffixes):
    return [path for path in files() if path.endswith(suffixes)]


def read(path, top=TOP):
    with open(os.path.join(top, path), encoding="utf-8", errors="replace") as file:
        return file.read()


def finish(problems):
    """Prints the problems and ends the check with its exit code."""
    for problem in problems:
        print(problem)
    sys.exit(1 if problems else 0)
