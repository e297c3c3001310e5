# SPDX-License-Identifier: GPL-2.0-or-later
"""The protection page: every issue shows for its real reason, is cured by its control, and goes with its reason."""

import os
import shutil
import time
import unittest

from tesl_support import samples
from tesl_support.case import WindowCase
from tesl_support.hands import Hands
from tesl_support.task_row import TaskRow
from tesl_support.waiting import wait_until

WELL = "Your device is protected well"
DANGER = "Your device is in danger"
NEVER_SCANNED = "Full scan was never started"
DISABLED = "Protection is disabled"
NOT_LOADED = "Databases are not loaded"
OUT_OF_DATE = "Databases are out of date"
TOTALLY_OUT_OF_DATE = "Databases are totally out of date"
STORAGE_FULL = "Storage size limit almost reached."
NO_ISSUES = "There are no issues"
DAY = 24 * 60 * 60


class ProtectionPage(WindowCase):
    def setUp(self):
        super().setUp()
        samples.write(os.path.join(self.scope, "clean.txt"), b"nothing here\n")

    def date_databases(self, days):
        """The databases that the service will load are that old."""
        shutil.copytree(os.path.join(self.product.top, "shared/bases"), self.product.bases_folder, dirs_exist_ok=True)
        moment = time.time() - days * DAY - 60
        for name in os.listdir(self.product.bases_folder):
            os.utime(os.path.join(self.product.bases_folder, name), (moment, moment))

    def open_page(self):
        window = self.open_window()
        window.wait_open()
        window.wait_connected()
        self.press_verdict(window)
        wait_until(lambda: window.shows("Protection center"), 20, "the protection page shows")
        return window

    def verdict(self, window):
        """The main page's sentence, if it shows."""
        return next((node for node in window.nodes()
                     if node.is_showing() and node.name().startswith(("Your device", "Protection of your device"))), None)

    def press_verdict(self, window):
        def find_and_press():
            node = self.verdict(window)
            return node is not None and node.press()
        wait_until(find_and_press, 20, "the verdict can be pressed")

    def go_back(self, window):
        Hands(self.desktop, window).press_key("Escape")
        window.wait_connected()

    def task_state(self, task_id):
        _, document = self.product.control_json("--get-task-list")
        return next(task["state"] for task in document["tasks"] if task["id"] == task_id)

    def test_a_full_scan_that_was_never_run_is_started_here(self):
        samples.write_large(os.path.join(self.scope, "large"), count=20, megabytes=16)
        self.product.configure_service(scanScope=[self.scope], scannerWorkers=1)
        self.product.start_service()
        window = self.open_page()
        row = TaskRow(window, NEVER_SCANNED)
        row.wait_text("Full scan was never started. Start Full scan task.")
        row.press("Start")
        wait_until(lambda: self.task_state(2) in ("Starting", "Started"), 20, "the full scan runs")
        wait_until(lambda: "starting..." in row.text() or not row.nodes(), 20, "the row tells that it starts")
        wait_until(lambda: self.task_state(2) == "Stopped", 120, "the full scan has ended")
        wait_until(lambda: not row.nodes(), 20, "the row has gone without reopening the page")
        self.assertEqual(window.close(), 0)

    def test_databases_tell_their_age(self):
        for days, title, description in ((2, None, None), (3, OUT_OF_DATE, "Start update task."),
                                         (7, OUT_OF_DATE, "Start update task."),
                                         (8, TOTALLY_OUT_OF_DATE, "Start Update task")):
            with self.subTest(days):
                self.product.reset()
                self.product.configure_service(scanScope=[self.scope])
                self.date_databases(days)
                self.product.start_service()
                window = self.open_page()
                TaskRow(window, NEVER_SCANNED).wait_text("Start")  # the list is there
                expected = [title] if title else []
                # A page that was opened before the databases were loaded says so first.
                wait_until(lambda: self.database_rows(window) == expected, 20, f"the rows of databases are {expected}")
                if title:
                    self.assertIn(description, TaskRow(window, title).text())
                self.assertEqual(window.close(), 0)
                self.product.stop_service()

    def database_rows(self, window):
        return [text for text in (NOT_LOADED, OUT_OF_DATE, TOTALLY_OUT_OF_DATE) if TaskRow(window, text).nodes()]

    def marker(self):
        """Bytes that make a file of any size a threat by the installed signatures."""
        with open(os.path.join(self.product.top, "shared/bases/tolvander.ndb"), encoding="ascii") as file:
            return next(bytes.fromhex(line.split(":")[3]) for line in file if line.startswith("Tolvander.Test.Marker:"))

    def test_a_storage_that_is_almost_full_is_told_here(self):
        self.product.start_service()
        if os.geteuid() == 0:
            wait_until(lambda: self.task_state(1) == "Started", 30, "protection runs")
            self.product.control("--stop-task", "1")  # it would be there before the scan
            wait_until(lambda: self.task_state(1) == "Stopped", 30, "protection has stopped")
        self.product.control("--set-app-settings", "BackupSizeLimit=1")
        threat = samples.write(os.path.join(self.scope, "threat.bin"), self.marker() + bytes(900_000))
        window = self.open_page()
        TaskRow(window, DISABLED).wait_text("Enable")
        self.assertFalse(window.shows(STORAGE_FULL))
        self.product.control("--set-settings", "2", "FirstAction=Recommended")
        self.product.control("--start-task", "2", "--wait", check=False)
        self.assertFalse(os.path.exists(threat))
        wait_until(lambda: window.shows(STORAGE_FULL), 20, "the row has come without reopening the page")
        self.product.control("--set-app-settings", "BackupSizeLimit=10")
        # No event tells the page of a setting: it looks by itself twice a minute.
        wait_until(lambda: not window.shows(STORAGE_FULL), 60, "the row has gone without reopening the page")
        self.assertEqual(window.close(), 0)

    def test_protection_that_is_stopped_is_enabled_again_here(self):
        if os.geteuid() != 0:
            self.skipTest("not run: only root may protect in real time")
        self.product.start_service()
        wait_until(lambda: self.task_state(1) == "Started", 30, "protection runs")
        self.product.control("--start-task", "2", "--wait")
        window = self.open_page()
        wait_until(lambda: window.shows(NO_ISSUES), 20, "there are no issues")
        self.go_back(window)
        wait_until(lambda: self.verdict(window).name() == WELL, 20, "all is well")

        begin = time.monotonic()
        self.product.control("--stop-task", "1")
        wait_until(lambda: window.shows(DANGER), 20, "the main page tells of the danger")
        self.assertLess(time.monotonic() - begin, 2, "it tells in time")
        self.press_verdict(window)
        row = TaskRow(window, DISABLED)
        row.wait_text("Enable protection to ensure that the application functions correctly.")
        row.press("Enable")
        wait_until(lambda: window.shows(NO_ISSUES), 20, "the issue has gone")
        self.go_back(window)
        wait_until(lambda: self.verdict(window).name() == WELL, 20, "all is well again")
        self.assertEqual(window.close(), 0)


if __name__ == "__main__":
    unittest.main()
