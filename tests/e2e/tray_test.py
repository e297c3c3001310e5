# SPDX-License-Identifier: GPL-2.0-or-later
"""The icon in the tray, over both protocols, where the tray comes up after the program as it does after a login."""

import re
import unittest

from tesl_support.case import WindowCase
from tesl_support.hands import Hands
from tesl_support.status_notifier import StatusNotifierTray
from tesl_support.waiting import Lapsed, hold_for, wait_until

TITLE = "Tolvander Endpoint Security 10.1.4 for Linux ARM64 Edition"
EXIT = "Exit"


class Tray(WindowCase):
    has_tray = False

    def open_and_close_window(self):
        """The program with its window closed, so that the icon alone is left."""
        window = self.open_window()
        window.wait_open()
        wait_until(window.is_unavailable, 20, "the window shows")
        window.press("Close")
        wait_until(lambda: not window.is_unavailable(), 20, "the window is closed")
        return window

    def assert_quiet(self, window):
        self.assertNotRegex(window.process.output(), "QSystemTrayIcon|qrc:")

    # --- StatusNotifier

    def use_notifier_item(self, window, tray):
        item = wait_until(tray.item, 20, "the icon is in the tray")
        sizes = [(width, height) for width, height, _ in wait_until(lambda: item.property("IconPixmap"), 20, "a picture")]
        self.assertIn((22, 22), sizes)
        self.assertEqual(item.property("ToolTip")[2], TITLE)

        item.activate()
        hold_for(lambda: not window.is_unavailable(), 0.5, "one click opens nothing")
        item.activate()
        item.activate()
        wait_until(window.is_unavailable, 20, "a double click opens the window")

        window.press("Close")
        wait_until(lambda: not window.is_unavailable(), 20, "the window is closed")
        self.assertEqual(list(item.menu()), [TITLE, EXIT])
        item.choose(TITLE)
        wait_until(window.is_unavailable, 20, "the menu opens the window")
        item.choose(EXIT)
        self.assertEqual(window.process.wait(), 0)
        self.assert_quiet(window)

    def test_a_status_notifier_tray_that_is_there_before(self):
        with StatusNotifierTray() as tray:
            self.use_notifier_item(self.open_and_close_window(), tray)

    def test_a_status_notifier_tray_that_comes_later(self):
        window = self.open_and_close_window()
        with StatusNotifierTray() as tray:
            self.use_notifier_item(window, tray)

    def test_a_status_notifier_host_that_comes_after_its_watcher(self):
        with StatusNotifierTray(host=False) as tray:
            window = self.open_and_close_window()
            hold_for(lambda: tray.item() is None, 1, "without a host there is no icon")
            tray.add_host()
            self.use_notifier_item(window, tray)

    # --- tray of X11

    def tray_icon(self):
        """Middle of the icon on the screen, or None."""
        tree = self.desktop.ask("xwininfo", "-root", "-tree") or ""
        for line in tree.splitlines():
            place = re.search(r'"tesl-gui".*?(\d+)x(\d+)\+-?\d+\+-?\d+\s+\+(\d+)\+(\d+)', line)
            if place and int(place[1]) <= 64:
                width, height, x, y = map(int, place.groups())
                return x + width // 2, y + height // 2
        return None

    def click_icon(self, *buttons):
        x, y = self.tray_icon()
        clicks = [word for button in buttons for word in ("click", str(button))]
        self.assertIsNotNone(self.desktop.ask("xdotool", "mousemove", str(x), str(y), *clicks))

    def use_x11_icon(self, window):
        wait_until(self.tray_icon, 20, "the icon is in the tray")
        hands = Hands(self.desktop, window)

        def opened_by_double_click():
            self.click_icon(1, 1)
            return window.is_unavailable()
        self.click_icon(1)
        hold_for(lambda: not window.is_unavailable(), 0.5, "one click opens nothing")
        wait_until(opened_by_double_click, 20, "a double click opens the window")
        self.desktop.save_screenshot("x11-tray")

        hands.click_on("Close")
        wait_until(lambda: not window.is_unavailable(), 20, "the window is closed")
        self.choose_item(hands, "Down")
        wait_until(window.is_unavailable, 20, "the menu opens the window")
        self.choose_item(hands, "Down", "Down")
        self.assertEqual(window.process.wait(), 0)
        self.assert_quiet(window)

    def choose_item(self, hands, *way):
        """By keyboard: the menu stands in no tree."""
        before = self.windows()

        def opened():
            """A second click soon after the first makes a double click, which opens no menu."""
            self.click_icon(3)
            try:
                return wait_until(lambda: self.windows() - before, 2, "the menu shows")
            except Lapsed:
                return None
        menu = wait_until(opened, 20, "the menu shows")
        for key in (*way, "Return"):
            hands.press_key(key)
        wait_until(lambda: not menu & self.windows(), 20, "the menu has gone")

    def windows(self):
        """Numbers of the program's windows that lie open on the screen."""
        return set((self.desktop.ask("xdotool", "search", "--onlyvisible", "--classname", "tesl-gui") or "").split())

    def test_a_tray_of_x11_that_is_there_before(self):
        tray = self.desktop.start_tray()
        self.addCleanup(tray.kill)
        self.use_x11_icon(self.open_and_close_window())

    def test_a_tray_of_x11_that_comes_later(self):
        window = self.open_and_close_window()
        tray = self.desktop.start_tray()
        self.addCleanup(tray.kill)
        self.use_x11_icon(window)


if __name__ == "__main__":
    unittest.main()
