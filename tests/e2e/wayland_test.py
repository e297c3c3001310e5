# SPDX-License-Identifier: GPL-2.0-or-later
"""The window on a Wayland display, which alone knows where windows stand and alone may move them."""

import itertools
import os
import signal
import time
import unittest

from tesl_support import samples
from tesl_support.case import BUILD, WindowCase
from tesl_support.held_scan import HeldScan
from tesl_support.popups import Popups
from tesl_support.processes import Process, children_of
from tesl_support.status_notifier import StatusNotifierTray
from tesl_support.waiting import wait_until
from tesl_support.wayland import WaylandDesktop

SCRIPT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../run.sh")
SIZE = (735, 540)
REST = 0.5
# A picture with nothing painted has one or two.
COLOURS = 50


class Wayland(WindowCase):
    @classmethod
    def make_desktop(cls, logs):
        return WaylandDesktop(logs)

    def open_connected(self):
        self.product.start_service()
        window = self.open_window()
        window.wait_open()
        window.wait_connected()
        return window

    def place(self, number=0):
        """x, y, width, height of a window of the program, or None."""
        windows = self.desktop.windows()
        if len(windows) <= number:
            return None
        return tuple(windows[number]["rect"][key] for key in ("x", "y", "width", "height"))

    def settled(self, number=0):
        """The same, once it stays the same."""
        return self.at_rest(lambda: self.place(number), "the window rests")

    @staticmethod
    def at_rest(look, what):
        """What is seen once it has been the same for as long as a page takes to come in."""
        seen, since = None, time.monotonic()

        def rests():
            nonlocal seen, since
            now = look()
            if now != seen:
                seen, since = now, time.monotonic()
            return now if now and time.monotonic() - since > REST else None
        return wait_until(rests, 20, what)

    def click_on(self, window, name):
        """Where a program stands it isn't told: what it says of its objects is within its window."""
        left, top, _, _ = self.settled()
        x, y, width, height = self.at_rest(lambda: self.box_of(window, name), f"\"{name}\" shows and rests")
        self.desktop.pointer.click(left + x + width // 2, top + y + height // 2)

    @staticmethod
    def box_of(window, name):
        node = window.find(name, enabled=True)
        return node and node.box()

    def assert_quiet(self, window):
        self.assertNotRegex(window.process.output(), "qrc:|wl_display|xdg_|This plugin does not support setting")

    def test_the_window_opens_paints_and_turns_its_pages(self):
        window = self.open_connected()
        self.assertEqual(self.settled()[2:], SIZE)
        wait_until(lambda: self.desktop.colours() > COLOURS, 20, "the window is painted")
        self.desktop.save_screenshot("main-page")
        for button, text in (("Scan", "Scan my computer"), ("Update", "Rollback")):
            self.click_on(window, button)
            wait_until(lambda: any(node.name().startswith(text) for node in window.nodes()), 20, "the page shows")
            self.desktop.save_screenshot("page-" + button)
            self.click_on(window, "Back")
            window.wait_connected()
        self.assert_quiet(window)
        self.assertEqual(window.close(), 0)

    def test_the_header_moves_the_window(self):
        window = self.open_connected()
        x, y, *_ = self.settled()
        pointer = self.desktop.pointer
        pointer.move(x + 300, y + 16)
        pointer.press()

        way = itertools.count(12)

        def moves():
            """The compositor takes over when the program has found that this is a drag and has asked for it."""
            pointer.move(x + 300 + next(way), y + 16)
            return self.place()[:2] != (x, y)
        wait_until(moves, 20, "the window moves")
        before, passed = self.settled(), next(way) - 1
        pointer.move(x + 300 + passed + 50, y + 56)
        wait_until(lambda: self.place() != before, 20, "it follows")
        pointer.press(False)
        moved = self.settled()
        self.assertEqual(moved, (before[0] + 50, before[1] + 40, *SIZE))

        self.desktop.pointer.click(moved[0] + 300, moved[1] + 300)
        self.click_on(window, "Scan")
        wait_until(lambda: window.shows("Scan my computer"), 20, "what shows where the window stands now can be clicked")
        self.assertEqual(self.settled(), moved)
        self.assertEqual(window.close(), 0)

    def test_close_and_the_tray_icon(self):
        with StatusNotifierTray() as tray:
            window = self.open_connected()
            item = wait_until(tray.item, 20, "the icon is in the tray")
            self.click_on(window, "Close")
            wait_until(lambda: not self.desktop.windows(), 20, "the window is closed")
            item.activate()
            item.activate()
            wait_until(self.desktop.windows, 20, "a double click opens it")
            self.assertEqual(self.settled()[2:], SIZE)
            window.wait_connected()
            item.choose("Exit")
            self.assertEqual(window.process.wait(), 0)
            self.assert_quiet(window)

    def test_run_sh_takes_this_display(self):
        run = Process("run", [SCRIPT, "--build", BUILD], self.product.logs, self.desktop.environment)
        self.addCleanup(run.kill)
        wait_until(lambda: "Press Ctrl-C" in run.output() or not run.is_alive(), 60, "the script has done its part")
        wait_until(self.desktop.windows, 20, "the window shows")
        started = set()
        for pid in children_of(run.pid):
            with open(f"/proc/{pid}/comm", encoding="utf-8") as file:
                started.add(file.read().strip())
        self.assertEqual(started, {"tesl-service", "tesl-gui"})
        run.signal(signal.SIGTERM)
        self.assertEqual(run.wait(30), 143, run.output())

    def test_popups_show_and_go(self):
        samples.write_large(self.scope, count=20, megabytes=16)
        samples.write(os.path.join(self.scope, "test-file.com"), samples.test_file())
        window = self.open_connected()
        popups = self.enterContext(Popups(window))
        scan = HeldScan(self.product, self.scope)
        self.addCleanup(scan.kill)
        wait_until(lambda: window.shows("Scan my computer"), 20, "the page of scan tasks shows")
        self.click_on(window, "Back")
        window.wait_connected()
        self.assertEqual(scan.release(), 1)
        popup, = wait_until(popups.showing, 20, "the popup shows")
        self.assertEqual(popup.name(), "Custom scan completed")
        self.desktop.save_screenshot("popup")
        close = next(node for node in popup.walk() if node.name() == "Close")
        self.assertTrue(close.press())
        wait_until(lambda: not popups.showing(), 20, "the popup is closed")
        self.assertTrue(window.is_connected())
        self.assert_quiet(window)
        self.assertEqual(window.close(), 0)


if __name__ == "__main__":
    unittest.main()
