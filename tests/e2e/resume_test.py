# SPDX-License-Identifier: GPL-2.0-or-later
"""A full scan that is paused, or runs, when its service ends: what is scanned before and after is the tree, whole."""

import collections
import json
import os
import unittest

from tesl_support import samples
from tesl_support.case import ProductCase
from tesl_support.waiting import wait_until

FOLDERS = 12
LARGE, THREATS, CLEAN = 4, 3, 5  # in each of them


class Resume(ProductCase):
    def setUp(self):
        super().setUp()
        self.threats = set()
        for number in range(FOLDERS):
            folder = os.path.join(self.scope, f"folder-{number:02}")
            samples.write_large(folder, LARGE, megabytes=16)
            for i in range(THREATS):
                self.threats.add(samples.write(os.path.join(folder, f"test-{i}.com"), samples.test_file()))
            for i in range(CLEAN):
                samples.write(os.path.join(folder, f"a-{i}.txt"), f"{number} {i}\n".encode())
        self.files = FOLDERS * (LARGE + THREATS + CLEAN)
        self.product.configure_service(scanScope=[self.scope], scannerWorkers=1)
        self.product.start_service()

    def full_scan(self):
        """The task, and the counters of its run."""
        _, document = self.product.control_json("--get-task-state", "2")
        return document["task"], document["lastRun"]

    def state(self):
        return self.full_scan()[0]["state"]

    def kept(self):
        """How many objects a run would count on from if the service ended now."""
        with open(self.product.task_state, encoding="utf-8") as file:
            run = next(task.get("run") for task in json.load(file)["tasks"] if task["taskId"] == 2)
        return run["counters"]["scannedObjects"] if run else 0

    def start_scan(self):
        self.product.control("--start-task", "2")
        self.wait_scanned(0)

    def wait_scanned(self, more_than):
        """Until the scan, still under way, has come further by more than a folder."""
        def has_come():
            _, run = self.full_scan()
            self.assertLess(run["scannedObjects"], self.files, "the scan was too fast for this test")
            return run["scannedObjects"] > more_than + LARGE + THREATS + CLEAN
        wait_until(has_come, 60, "the scan is on its way")

    def suspend(self):
        self.product.control("--suspend-task", "2")
        wait_until(lambda: self.state() == "Suspended", 20, "the scan is suspended")
        # What was in hand is still scanned.
        wait_until(lambda: self.kept() == self.full_scan()[1]["scannedObjects"], 20, "how far it came is kept")

    def restart(self, end):
        """The service ends and is started; the scan waits where it was. Returns the counters."""
        end()
        self.product.start_service()
        task, run = self.full_scan()
        self.assertEqual(task["state"], "Suspended")
        listed = next(each for each in self.product.control_json("--get-task-list")[1]["tasks"] if each["id"] == 2)
        self.assertEqual(listed["state"], "Suspended")
        self.assertIn(b"Suspended", self.product.control("--get-task-list").stdout)
        self.assertIsNone(run["finished"])
        return run

    def resume_to_its_end(self):
        self.assertEqual(self.product.control_json("--resume-task", "2")[0], 0)
        wait_until(lambda: self.state() == "Stopped", 120, "the scan ends")
        return self.full_scan()[1]

    def stop(self):
        self.assertEqual(self.product.stop_service(), 0)

    def kill(self):
        self.product.kill_service()

    def found(self):
        """How often each threat was told."""
        _, document = self.product.control_json("--event-query", "--event-type", "ThreatDetected", "--limit", "1000")
        return collections.Counter(field["value"] for event in document["events"] for field in event["fields"]
                                   if field["name"] == "FileName")

    def count(self, event_type):
        return len(self.product.control_json("--event-query", "--event-type", event_type)[1]["events"])

    def assert_whole(self, run):
        """The union is the tree, and each file of it came once."""
        self.assertEqual(self.found(), collections.Counter(self.threats))
        self.assertEqual((run["scannedObjects"], run["threatsFound"], run["infectedObjects"], run["scanErrors"]),
                         (self.files, len(self.threats), len(self.threats), 0))
        self.assertIsNotNone(run["finished"])

    def interrupt(self, end):
        """Ends the service under a scan that runs, and sees it told."""
        self.start_scan()
        wait_until(lambda: self.kept() > 0, 30, "how far the scan has come is kept")
        self.assertEqual(self.state(), "Started")
        self.restart(end)
        self.assertEqual(self.count("OnDemandTaskInterrupted"), 1)

    def test_a_paused_scan_goes_on_over_orderly_and_sudden_ends(self):
        self.start_scan()
        for end in (self.stop, self.kill):
            self.suspend()
            _, before = self.full_scan()
            after = self.restart(end)
            self.assertEqual(after["scannedObjects"], before["scannedObjects"])
            self.assertEqual(after["started"], before["started"])
            if end == self.stop:
                self.product.control("--resume-task", "2")
                self.wait_scanned(after["scannedObjects"])
        self.assertEqual(self.count("OnDemandTaskInterrupted"), 0)
        self.assert_whole(self.resume_to_its_end())

    def test_a_running_scan_goes_on_where_the_service_was_stopped(self):
        self.interrupt(self.stop)
        self.assert_whole(self.resume_to_its_end())

    def test_a_running_scan_goes_on_behind_its_last_checkpoint_after_a_kill(self):
        self.interrupt(self.kill)
        run = self.resume_to_its_end()
        # What came behind the checkpoint comes again; nothing is left out.
        self.assertEqual(set(self.found()), self.threats)
        self.assertGreaterEqual(run["scannedObjects"], self.files)
        self.assertIsNotNone(run["finished"])


if __name__ == "__main__":
    unittest.main()
