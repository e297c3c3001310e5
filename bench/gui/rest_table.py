# SPDX-License-Identifier: GPL-2.0-or-later
"""The tables of bench/gui/rest.sh: medians over the rounds.

Usage: rest_table.py FOLDER; FOLDER holds RENDERER.start, RENDERER.gui and RENDERER.bare for both renderers, and
idle.page and scanning.page."""

import collections
import os
import sys
from statistics import median

RENDERERS = ("software", "hardware")
GOAL_AT_REST = 1.2
GOAL_SCANNING = 3.0
# Of a line of the watcher of the first frame.
START = (("first frame, ms", 0, 1), ("processor time to it, ms", 1, 1), ("resident 2 s later, MB", 4, 1024),
         ("anonymous 2 s later, MB", 5, 1024))
SLIDES = (("frames of a page transition", "slide_frames"), ("longest gap between two, ms", "slide_gap"),
          ("processor time of a transition, ms", "slide_processor"))


def figures(folder, name):
    """The figures of each round by their names."""
    found = collections.defaultdict(list)
    with open(os.path.join(folder, name), encoding="ascii") as file:
        for line in file:
            key, value = line.split()
            found[key].append(float(value))
    return found


def starts(folder, name):
    with open(os.path.join(folder, name), encoding="ascii") as file:
        return [[float(word) for word in line.split()] for line in file]


def row(title, values, form="9.1f", tail=""):
    print(f"{title:46}" + "".join(f" {value:{form}}" for value in values) + tail)


def main(folder):
    gui = {renderer: figures(folder, f"{renderer}.gui") for renderer in RENDERERS}
    bare = {renderer: figures(folder, f"{renderer}.bare") for renderer in RENDERERS}
    start = {renderer: starts(folder, f"{renderer}.start") for renderer in RENDERERS}
    print(f"{len(start['software'])} rounds" + " " * 38 + "".join(f" {renderer:>9}" for renderer in RENDERERS))
    for title, at, divisor in START:
        row(title, [median(line[at] for line in start[renderer]) / divisor for renderer in RENDERERS])
    for title, key in SLIDES:
        row(title, [median(gui[renderer][key]) for renderer in RENDERERS])
    for title, key in (("active", "rest_percent"), ("inactive", "inactive_percent")):
        row(f"at rest, {title}, % of a core", [median(gui[renderer][key]) for renderer in RENDERERS], "9.2f")
        row(f"bare window, {title}, % of a core", [median(bare[renderer][key]) for renderer in RENDERERS], "9.2f")
        row("ratio of the two", [median(ours / theirs for ours, theirs in zip(gui[renderer][key], bare[renderer][key]))
                                 for renderer in RENDERERS], "9.2f", f"   <= {GOAL_AT_REST}")
    row("frames a second at rest", [median(gui[renderer]["rest_frames"]) for renderer in RENDERERS])
    row("hidden, % of a core", [median(gui[renderer]["hidden_percent"]) for renderer in RENDERERS], "9.2f")
    row("most frames while hidden", [max(gui[renderer]["hidden_frames"]) for renderer in RENDERERS], "9.1f", "   0")
    idle, scanning = (figures(folder, name)["rest_percent"] for name in ("idle.page", "scanning.page"))
    more = median(busy - quiet for quiet, busy in zip(idle, scanning))
    print(f"scan page, % of a core: {median(idle):.2f} idle, {median(scanning):.2f} while a scan runs; "
          f"{more:.2f} more   <= {GOAL_SCANNING}")


if __name__ == "__main__":
    main(sys.argv[1])
