#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Runs clang-tidy with the project's short list over the folders without Qt, and the analysis of locks over all. A
file that was clean is not looked at again until it, a header of ours that it includes, or the settings change.

Usage: check_tidy.py BUILD-FOLDER"""

import concurrent.futures
import hashlib
import json
import os
import re
import shlex
import subprocess
import sys

import sources

TOOL = "clang-tidy-14"
COMPILER = "clang++-14"
LOCKS = "-Wthread-safety"
FOLDERS = ("foundation/", "contract/", "tfs_utils/", "tfs_common/", "wire/", "platform/", "remote/", "remote_actions/",
           "control/", "service/", "scanner/")
# In Qt's headers the tool finds faults of its own making; of these files only those with locks are looked at.
QT_FOLDERS = ("gui/",)
LOCK_HEADER = "foundation/sync.h"
OUR_INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]', re.MULTILINE)
KEPT_FLAGS = ("-I", "-D", "-isystem", "-std=", "-U", "-include")


def flags_of(command):
    """What the front end needs of a compile command."""
    words = shlex.split(command)
    kept = []
    i = 0
    while i < len(words):
        if words[i] in ("-isystem", "-include", "-I", "-D"):
            kept += words[i:i + 2]
            i += 1
        elif words[i].startswith(KEPT_FLAGS):
            kept.append(words[i])
        i += 1
    return kept


def closure(path, seen):
    """The file, every header of ours that it comes to include, and the schemas that headers are made from."""
    path = path.removesuffix(".h") if path.endswith(".capnp.h") else path
    if path in seen or not os.path.isfile(os.path.join(sources.TOP, path)):
        return
    seen[path] = sources.read(path)
    for header in OUR_INCLUDE.findall(seen[path]):
        closure(header, seen)


def command_for(path, flags, included):
    """What checks the file; None where nothing does."""
    if path.startswith(FOLDERS):
        return [TOOL, "--quiet", path, "--", LOCKS, *flags]
    if path.startswith(QT_FOLDERS) and LOCK_HEADER in included:
        return [COMPILER, "-fsyntax-only", LOCKS, "-Werror=thread-safety", path, *flags]
    return None


def digest(command, included):
    state = hashlib.sha256(json.dumps([command, sources.read(".clang-tidy"), sorted(included.items())]).encode())
    return state.hexdigest()


def check(path, command):
    """Empty where the file is clean, else what the tool says."""
    done = subprocess.run(command, cwd=sources.TOP, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    if done.returncode == 0:
        return ""
    return f"{path}:\n{done.stdout}"


def main():
    build = os.path.abspath(sys.argv[1])
    cache = os.path.join(build, "tidy")
    os.makedirs(cache, exist_ok=True)
    with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as file:
        commands = json.load(file)
    jobs = {}
    for entry in commands:
        path = os.path.relpath(os.path.join(entry["directory"], entry["file"]), sources.TOP)
        included = {}
        closure(path, included)
        command = command_for(path, flags_of(entry["command"]), included)
        if command:
            jobs[path] = (command, os.path.join(cache, digest(command, included)))
    waiting = {path: job for path, job in jobs.items() if not os.path.exists(job[1])}
    print(f"{len(jobs)} files, {len(jobs) - len(waiting)} of them unchanged since they were found clean")
    problems = []
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        futures = {pool.submit(check, path, command): mark for path, (command, mark) in sorted(waiting.items())}
        for future in concurrent.futures.as_completed(futures):
            if future.result():
                problems.append(future.result())
            else:
                with open(futures[future], "w", encoding="utf-8"):
                    pass
    if not jobs:
        problems.append("no compile command was found")
    sources.finish(problems)


if __name__ == "__main__":
    main()
