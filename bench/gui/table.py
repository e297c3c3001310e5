# SPDX-License-Identifier: GPL-2.0-or-later
"""The table of bench/gui/run.sh: medians of each window, and the medians of the front end's ratios to the other two.

Usage: table.py FOLDER NAME...; FOLDER holds the figures as NAME.empty, NAME.text and NAME.gui, a line a start."""

import os
import sys
from statistics import median

GOAL = 1.5
# Title, position in a line of figures, divisor to the unit shown.
COLUMNS = (
    ("first frame, ms", 0, 1),
    ("processor time to it, ms", 1, 1),
    ("resident at first frame, MB", 2, 1024),
    ("resident 2 s later, MB", 4, 1024),
    ("anonymous 2 s later, MB", 5, 1024),
)
# Wall-clock time and resident memory; the others explain them.
WITH_GOAL = (0, 2, 4)


def figures(folder, name, window):
    with open(os.path.join(folder, f"{name}.{window}"), encoding="ascii") as file:
        return [[float(word) for word in line.split()] for line in file]


def ratio(ours, theirs, at):
    return median(our[at] / their[at] for our, their in zip(ours, theirs))


def main(folder, names):
    print(f"{'':44} {'empty':>7} {'text':>7} {'tesl-gui':>9} {'to empty':>9} {'to text':>8}   goal")
    for name in names:
        empty, text, gui = (figures(folder, name, window) for window in ("empty", "text", "gui"))
        for title, at, divisor in COLUMNS:
            shown = [median(line[at] for line in lines) / divisor for lines in (empty, text, gui)]
            print(f"{name + ': ' + title:44} {shown[0]:7.1f} {shown[1]:7.1f} {shown[2]:9.1f} "
                  f"{ratio(gui, empty, at):9.2f} {ratio(gui, text, at):8.2f}   "
                  f"{'<= ' + str(GOAL) if at in WITH_GOAL else ''}".rstrip())
        print(f"{name}: {len(gui)} rounds")


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2:])
