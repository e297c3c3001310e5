# SPDX-License-Identifier: GPL-2.0-or-later
"""The page of scan tasks by keyboard alone and by mouse alone, and what it does when tasks are driven from outside."""

import os
import shutil
import tempfile
import unittest

from tesl_support import samples
from tesl_support.case import WindowCase
from tesl_support.hands import Hands
from tesl_support.held_scan import HeldScan
from tesl_support.popups import Popups
from tesl_support.task_row import BUTTON, TaskRow
from tesl_support.waiting import hold_for, wait_until

FULL_SCAN = "Scan my computer"
UNAVAILABLE = "The application is unavailable"
OTHER_SCANS = 2  # of boot records and of memory
NO_THREATS = "Custom scan completed. No active threats found."


class TaskPage(WindowCase):
    def setUp(self):
        super().setUp()
        samples.write_large(os.path.join(self.scope, "large"), count=60, megabytes=16)
        # One worker, so that there is time for everything while a scan runs.
        self.product.configure_service(scanScope=[self.scope], scannerWorkers=1)
        self.product.start_service()

    def open_connected(self, **how):
        window = self.open_window(**how)
        window.wait_open()
        window.wait_connected()
        return window, Hands(self.desktop, window)

    def tasks(self):
        _, document = self.product.control_json("--get-task-list")
        return document["tasks"]

    def wait_state(self, state):
        """Until the full scan is in it."""
        wait_until(lambda: any(task["id"] == 2 and task["state"] == state for task in self.tasks()), 30,
                   f"the full scan is {state}")

    def button(self, window, name):
        """That button in the row of the full scan; None where it doesn't show."""
        return TaskRow(window, FULL_SCAN).button(name)

    def wait_button(self, window, name):
        """The main button of the full scan. The page shows one change of a task a second."""
        return wait_until(lambda: self.button(window, name), 30, f"the button \"{name}\" shows")

    def picture(self, node):
        """How an object looks where the mouse isn't over it."""
        self.desktop.ask("xdotool", "mousemove", "0", "0")
        x, y, width, height = node.box()
        return self.desktop.ask("import", "-silent", "-window", "root", "-crop", f"{width}x{height}+{x}+{y}", "-depth",
                                "8", "txt:-")

    def bar(self, window):
        """What the bar shows; None where there is no bar."""
        return next((node.percent() for node in window.nodes()
                     if node.role() == "progress bar" and node.is_showing() and node.percent() is not None), None)

    def test_by_keyboard_alone(self):
        window, hands = self.open_connected()
        hands.tab_to("Scan")
        hands.press_key("Return")
        wait_until(lambda: window.shows(FULL_SCAN), 20, "the task's row shows")
        self.wait_button(window, "Start")
        hands.tab_to("Start")
        hands.press_key("space")
        self.wait_state("Started")
        self.wait_button(window, "Stop")
        self.product.control("--suspend-task", "2")
        self.wait_button(window, "Start")
        self.assertEqual(hands.names_by_tab().count("Start"), OTHER_SCANS,
                         "a disabled button is no stop of the keyboard")
        self.product.control("--resume-task", "2")
        self.wait_button(window, "Stop")
        hands.tab_to("Stop")
        hands.press_key("Return")
        self.wait_state("Stopped")
        self.wait_button(window, "Start")
        self.assertIsNone(window.find("Scan", BUTTON))
        hands.press_key("Escape")
        window.wait_connected()
        self.assertEqual(window.close(), 0)

    def test_by_mouse_alone_while_the_scan_is_suspended_from_outside(self):
        window, hands = self.open_connected()
        hands.click_on("Scan")
        hands.click_on("Start")
        self.wait_state("Started")
        self.wait_button(window, "Stop")
        before = wait_until(lambda: self.bar(window), 60, "the bar moves")

        self.product.control("--suspend-task", "2")
        self.wait_state("Suspended")
        suspended = self.wait_button(window, "Start")
        wait_until(lambda: self.bar(window) is None, 20, "the bar has gone")
        self.desktop.save_screenshot("suspended")
        disabled = self.picture(suspended)
        hands.click(suspended)
        hold_for(lambda: self.button(window, "Start") and self.picture(suspended) == disabled, 2, "the button is disabled")
        self.wait_state("Suspended")

        self.product.control("--resume-task", "2")
        self.wait_button(window, "Stop")
        after = wait_until(lambda: self.bar(window), 20, "the bar is back")
        self.assertGreaterEqual(after, before)
        hands.click_on("Stop")
        self.wait_state("Stopped")
        stopped = self.wait_button(window, "Start")
        wait_until(lambda: self.picture(stopped) != disabled, 20, "the button is enabled again, and looks so")
        hands.click_on("Back")
        window.wait_connected()
        self.assertEqual(window.close(), 0)

    # --- custom scans

    def start_custom_scan(self, *paths):
        scan = HeldScan(self.product, *paths)
        self.addCleanup(scan.kill)
        return scan

    def write_folder(self, name, threats):
        """Files for a scan that lasts a while, and some threats. Its path is short: a long one is shown shortened."""
        parent = tempfile.mkdtemp(dir="/tmp")
        self.addCleanup(shutil.rmtree, parent, ignore_errors=True)
        folder = os.path.join(parent, name)
        samples.write_large(folder, count=20, megabytes=16)
        for number in range(threats):
            samples.write(os.path.join(folder, f"test-{number}.com"), samples.test_file())
        return folder

    def test_a_custom_scan_opens_the_window_and_its_end_raises_a_popup(self):
        folders = [self.write_folder(f"threats-{threats}", threats) for threats in range(3)]
        window = self.open_window(arguments=["--tray-only"])
        window.wait_open(60)
        wait_until(lambda: not any(UNAVAILABLE in node.name() for node in window.nodes()), 20, "it is connected")
        self.assertFalse(any(node.is_showing() for node in window.nodes() if node.name() == "Scan"))
        hands = Hands(self.desktop, window)
        popups = self.enterContext(Popups(window))
        texts = [NO_THREATS, "Custom scan completed. 1 threat found.", "Custom scan completed. 2 threats found."]
        for threats, (folder, text) in enumerate(zip(folders, texts)):
            with self.subTest(text):
                scan = self.start_custom_scan(folder)
                wait_until(lambda: window.shows(FULL_SCAN), 20, "the window shows the page of scan tasks")
                wait_until(lambda: window.shows(f"Custom scan of {folder}"), 20, "the scan's row shows")
                hands.click_on("Close")
                wait_until(lambda: not window.shows(FULL_SCAN), 20, "the window is closed into the tray")
                self.assertEqual(scan.release(), 1 if threats else 0)
                popup, = wait_until(popups.showing, 20, "the popup shows")
                self.assertEqual(popup.name(), "Custom scan completed")
                self.assertIn(text, [node.name() for node in popup.walk()])
                self.assertFalse(window.shows(FULL_SCAN))
                self.desktop.save_screenshot(f"popup-{threats}")
                close = next(node for node in popup.walk() if node.name() == "Close")
                hands.click_at_rest(lambda: close, "Close")
                wait_until(lambda: not popups.showing(), 20, "the popup is closed")
        self.assertEqual(window.close(), 0)

    def test_the_page_in_front_needs_no_popup(self):
        folder = self.write_folder("threats", 1)
        window, _ = self.open_connected()
        popups = self.enterContext(Popups(window))
        scan = self.start_custom_scan(folder)
        wait_until(lambda: window.shows(f"Custom scan of {folder}"), 20, "the scan's row shows")
        self.assertEqual(scan.release(), 1)
        wait_until(lambda: window.shows("Threat detected"), 20, "the row shows the result")
        hold_for(lambda: not popups.showing(), 2, "there is no popup")
        self.assertEqual(window.close(), 0)


if __name__ == "__main__":
    unittest.main()
