# SPDX-License-Identifier: GPL-2.0-or-later
"""The table of bench/gui/run.sh: medians of both programs, and the median of the ratios of the pairs.

Usage: table.py FOLDER NAME...; FOLDER holds the figures as NAME.bare and NAME.gui, a line a start."""

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


def figures(folder, name, program):
    with open(os.path.join(folder, f"{name}.{program}"), encoding="ascii") as file:
        return [[float(word) for word in line.split()] for line in file]


def main(folder, names):
    print(f"{'':44} {'bare':>8} {'tesl-gui':>9} {'ratio':>6}   goal")
    for name in names:
        bare, gui = figures(folder, name, "bare"), figures(folder, name, "gui")
        for title, at, divisor in COLUMNS:
            ratio = median(ours[at] / theirs[at] for ours, theirs in zip(gui, bare))
            print(f"{name + ': ' + title:44} {median(line[at] for line in bare) / divisor:8.1f} "
                  f"{median(line[at] for line in gui) / divisor:9.1f} {ratio:6.2f}   "
                  f"{'<= ' + str(GOAL) if at in WITH_GOAL else ''}".rstrip())
        print(f"{name}: {len(bare)} pairs")


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2:])
