# SPDX-License-Identifier: GPL-2.0-or-later
"""Where the frameless window stands on X11: its header moves it, and is never lost."""

import unittest

from tesl_support.case import WindowCase
from tesl_support.waiting import wait_until

SCREEN = (1280, 800)
SIZE = (735, 540)
HEADER = 32


class WindowPlace(WindowCase):
    """Without a window manager, which may know better than to let a window go."""

    has_tray = False
    has_manager = False

    def setUp(self):
        super().setUp()
        self.window = self.open_window()
        self.window.wait_open()
        wait_until(self.window.is_unavailable, 20, "the window shows")
        self.number = self.desktop.ask("xdotool", "search", "--onlyvisible", "--name", "Tolvander").split()[-1]

    def place(self):
        answer = self.desktop.ask("xdotool", "getwindowgeometry", "--shell", self.number) or ""
        values = dict(line.split("=") for line in answer.split())
        return int(values["X"]), int(values["Y"])

    def drag(self, left, top):
        """Takes the header beside its middle and leads the pointer by so much, in steps as a hand does."""
        x, y = self.place()
        start = (min(max(x + 200, 1), SCREEN[0] - 2), y + HEADER // 2)
        self.mouse("mousemove", *start, "mousedown", "1")
        for step in range(1, 6):
            self.mouse("mousemove", start[0] + left * step // 5, start[1] + top * step // 5)
        self.mouse("mouseup", "1")
        return start

    def mouse(self, *words):
        self.assertIsNotNone(self.desktop.ask("xdotool", *map(str, words)), words)

    def test_the_header_moves_the_window(self):
        x, y = self.place()
        self.drag(60, 40)
        wait_until(lambda: self.place() == (x + 60, y + 40), 20, "the window stands where it was led to")
        self.assertEqual(self.window.close(), 0)

    def test_a_header_that_was_led_away_comes_back(self):
        x, y = self.place()
        self.drag(0, SCREEN[1])
        wait_until(lambda: self.place()[1] == SCREEN[1] - HEADER, 20, "the header stands at the lower edge")
        self.drag(0, y - self.place()[1])
        wait_until(lambda: self.place() == (x, y), 20, "it can be taken there")
        self.assertEqual(self.window.close(), 0)


if __name__ == "__main__":
    unittest.main()
