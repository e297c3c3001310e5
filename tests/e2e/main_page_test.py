# SPDX-License-Identifier: GPL-2.0-or-later
"""The main page and the tray's popups, with the real service: what they say comes and goes with its cause."""

import os
import unittest

from tesl_support import samples
from tesl_support.case import WindowCase
from tesl_support.popups import Popups
from tesl_support.processes import Process
from tesl_support.waiting import wait_until
from tesl_support.window import UNAVAILABLE

TASK = "File_Monitoring"
REASON = "Task File Threat Protection was not started due to file interceptor driver error"


class MainPage(WindowCase):
    def shows_verdict(self, window, text):
        return any(node.is_showing() and node.name().startswith(text) for node in window.nodes())

    def wait_verdict(self, window, text):
        wait_until(lambda: self.shows_verdict(window, text), 20, f"the main page says: {text}")

    def task_state(self):
        return self.product.control_json("--get-task-state", TASK)[1]["task"]["state"]

    def test_protection_that_is_not_permitted_is_told_by_a_popup(self):
        without_right = ["setpriv", "--bounding-set", "-sys_admin", "--inh-caps", "-sys_admin", "--"]
        command = (without_right if os.geteuid() == 0 else []) + [self.product.service_program]
        self.product.service = Process("service", command, self.product.logs)
        wait_until(self.product.answers, 60, "the service answers")
        window = self.open_window(arguments=["--tray-only"])
        window.wait_open(60)
        wait_until(lambda: not any(UNAVAILABLE in node.name() for node in window.nodes()), 20, "it is connected")
        popups = self.enterContext(Popups(window))
        self.product.control("--start-task", TASK, check=False)
        popup, = wait_until(popups.showing, 20, "the popup shows")
        self.assertEqual(popup.name(), "Failed to start task")
        names = [node.name() for node in popup.walk()]
        self.assertIn(REASON, names)
        self.assertIn("Open task reports", names)
        self.desktop.save_screenshot("not-started")
        self.assertEqual(self.task_state(), "Stopped")
        self.assertEqual(window.close(), 0)

    @unittest.skipUnless(os.geteuid() == 0, "not run: protection in real time wants root")
    def test_a_full_storage_is_a_warning_until_there_is_room(self):
        # Written before there is a protection that would be there first.
        samples.write_zip(os.path.join(self.scope, "archive.zip"),
                          {"inner.com": samples.test_file(), "filling": os.urandom(900_000)})
        self.product.start_service()
        self.product.control("--set-app-settings", "BackupSizeLimit=1")
        wait_until(lambda: self.task_state() == "Started", 30, "protection runs")
        window = self.open_window()
        window.wait_open()
        self.wait_verdict(window, "Your device is protected well")

        self.product.control("--set-settings", "2", "FirstAction=Recommended")
        self.product.control("--start-task", "2", "--wait", check=False)
        self.wait_verdict(window, "Protection of your device is reduced\n1 warning")
        self.desktop.save_screenshot("storage-full")
        self.product.control("--set-app-settings", "BackupSizeLimit=100")
        self.wait_verdict(window, "Your device is protected well")
        self.assertEqual(window.close(), 0)


if __name__ == "__main__":
    unittest.main()
