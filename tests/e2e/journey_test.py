# SPDX-License-Identifier: GPL-2.0-or-later
"""The one journey through everything: a person opens the window, starts a scan, and reads that a threat was found."""

import os
import unittest

from tesl_support import samples
from tesl_support.case import WindowCase
from tesl_support.waiting import wait_until

FULL_SCAN = "Scan_My_Computer"
BUTTON = ("push button", "button")


class Journey(WindowCase):
    def test_a_scan_that_finds_a_threat(self):
        samples.write_large(self.scope, count=40, megabytes=16)
        samples.write(os.path.join(self.scope, "clean.txt"), b"nothing here\n")
        # Behind the large files in the order of the scan, so that there is something to watch until they are found.
        samples.write(os.path.join(self.scope, "y", "test-file.com"), samples.test_file())
        samples.write_zip(os.path.join(self.scope, "z", "test-file.zip"), {"test-file.com": samples.test_file()})
        # One worker, so that the bar can be watched while it moves.
        self.product.configure_service(scanScope=[self.scope], scannerWorkers=1)
        self.product.start_service()
        window = self.open_window()
        window.wait_open()
        window.wait_connected()
        self.desktop.save_screenshot("main-page")

        window.press("Scan", enabled=True)
        wait_until(lambda: window.shows("Scan my computer"), 20, "the task's row shows")
        self.assertFalse(window.shows("Threat detected"))
        self.start_full_scan(window)
        values = self.watch_progress(window)
        self.desktop.save_screenshot("result")

        self.assertGreater(len({value for value in values if 0 < value < 100}), 1, f"the bar didn't move: {values}")
        self.assertEqual(values, sorted(values), "the bar went back")
        self.read_the_same_from_the_command_line()
        self.assertEqual(window.close(), 0)
        self.assertEqual(self.product.stop_service(), 0)
        self.assertFalse(os.path.exists(self.product.socket))

    def start_full_scan(self, window):
        """Presses the Start button that stands nearest to the task's name."""
        def start_of_row():
            starts = [node for node in window.nodes()
                      if node.name().startswith("Start") and node.role() in BUTTON and node.is_showing()]
            rows = [node for node in window.nodes() if "Scan my computer" in node.name() and node.is_showing()]
            if not starts or not rows:
                return None
            top = rows[0].box()[1]
            return min(starts, key=lambda node: abs(node.box()[1] - top))
        def press_start():
            start = start_of_row()
            return start is not None and start.is_enabled() and start.press()
        wait_until(press_start, 20, "the Start button of the full scan is pressed")

    def watch_progress(self, window):
        """What the bar shows, in order, until the result's text stands there."""
        values = []

        def result_shows():
            for node in window.nodes():
                percent = node.percent() if node.role() == "progress bar" and node.is_showing() else None
                if percent is not None and (not values or values[-1] != percent):
                    values.append(percent)
            return window.shows("Threat detected")

        wait_until(result_shows, 90, "the text \"Threat detected\" shows")
        return values

    def read_the_same_from_the_command_line(self):
        code, document = self.product.control_json("--get-task-state", FULL_SCAN)
        self.assertEqual(code, 0)
        self.assertEqual(document["task"]["state"], "Stopped")
        self.assertEqual(document["lastRun"]["threatsFound"], 2)
        self.assertEqual(document["lastRun"]["scannedObjects"], 43)


if __name__ == "__main__":
    unittest.main()
