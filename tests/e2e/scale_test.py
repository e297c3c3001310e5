# SPDX-License-Identifier: GPL-2.0-or-later
"""How the window is drawn: as large as the desktop asks for, anew and not blown up, and by which renderer."""

import os
import unittest

from tesl_support.case import WindowCase
from tesl_support.waiting import wait_until

SIZE = (735, 540)


class Scale(WindowCase):
    has_tray = False
    screen = (1920, 1080)

    def ask_for(self, dpi):
        """Sets what the desktop's settings set, or takes it away."""
        if dpi is None:
            self.desktop.ask("xprop", "-root", "-remove", "RESOURCE_MANAGER")
            return
        answer = self.desktop.ask("xprop", "-root", "-f", "RESOURCE_MANAGER", "8s", "-set", "RESOURCE_MANAGER",
                                  f"Xcursor.size:\t24\nXft.dpi:\t{dpi}\n")
        self.assertIsNotNone(answer)

    def open_at(self, dpi, **environment):
        self.ask_for(dpi)
        window = self.open_window(f"gui-{dpi}", **environment)
        window.wait_open()
        wait_until(window.is_unavailable, 20, "the window shows")
        return window

    def number(self):
        return self.desktop.ask("xdotool", "search", "--onlyvisible", "--name", "Tolvander").split()[-1]

    def size(self):
        answer = self.desktop.ask("xdotool", "getwindowgeometry", "--shell", self.number())
        values = dict(line.split("=") for line in answer.split())
        return int(values["WIDTH"]), int(values["HEIGHT"])

    def assert_scale(self, scale):
        for side, wanted in zip(self.size(), SIZE):
            self.assertAlmostEqual(side, wanted * scale, delta=1)

    def test_the_desktop_decides_in_quarters(self):
        for dpi, scale in ((None, 1), (96, 1), (97, 1), (120, 1.25), (144, 1.5), (192, 2), (288, 2)):
            with self.subTest(dpi=dpi):
                window = self.open_at(dpi)
                self.assert_scale(scale)
                self.assertEqual(window.close(), 0)

    def test_the_user_decides_before_the_desktop(self):
        # Each has Qt scale in its own way: the next whole step below, and not at all.
        for name, value in (("QT_SCALE_FACTOR_ROUNDING_POLICY", "Floor"), ("QT_AUTO_SCREEN_SCALE_FACTOR", "0")):
            with self.subTest(name=name):
                window = self.open_at(144, **{name: value})
                self.assert_scale(1)
                self.assertEqual(window.close(), 0)

    def test_programs_started_from_the_window_are_not_told(self):
        told = os.path.join(self.folder, "told")
        browser = os.path.join(self.folder, "xdg-open")
        with open(browser, "w", encoding="ascii") as file:
            file.write(f"#!/bin/sh\nenv >{told}.part\nmv {told}.part {told}\n")
        os.chmod(browser, 0o700)
        window = self.open_at(144, PATH=self.folder + os.pathsep + os.environ["PATH"])
        window.press("Help")
        wait_until(lambda: os.path.exists(told), 20, "the browser is started")
        with open(told, encoding="utf-8", errors="replace") as file:
            self.assertNotIn("QT_FONT_DPI", file.read())
        self.assertEqual(window.close(), 0)

    def test_the_processor_draws_unless_the_user_wishes_for_the_graphics_system(self):
        for wish, loads in ((None, False), ("hardware", True)):
            with self.subTest(wish=wish):
                window = self.open_at(None, **({"TESL_RENDERER": wish} if wish else {}))
                with open(f"/proc/{window.process.pid}/maps", encoding="utf-8") as file:
                    self.assertEqual("glx-integration" in file.read(), loads)
                self.assertEqual(window.close(), 0)

    def test_twice_as_large_has_twice_the_detail(self):
        window = self.open_at(192)
        picture = os.path.join(self.product.logs, "large.png")
        coarse = os.path.join(self.product.logs, "coarse.png")
        self.assertIsNotNone(self.desktop.ask("import", "-silent", "-window", self.number(), picture))
        self.assertIsNotNone(self.desktop.ask("convert", picture, "-sample", "50%", "-sample", "200%", coarse))
        # Of a picture that was blown up each point would be four times the same.
        detail = self.desktop.ask("convert", picture, coarse, "-metric", "AE", "-compare", "-format", "%[distortion]",
                                  "info:")
        self.assertGreater(float(detail), 1000)
        self.assertEqual(window.close(), 0)


if __name__ == "__main__":
    unittest.main()
