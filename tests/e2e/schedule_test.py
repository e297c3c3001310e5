# SPDX-License-Identifier: GPL-2.0-or-later
"""A full scan that its schedule starts: at its time, and once where the service didn't run at that time."""

import datetime
import json
import os
import unittest

from tesl_support import samples
from tesl_support.case import ProductCase
from tesl_support.waiting import hold_for, wait_until

FULL_SCAN = 2
DAY = 24 * 60 * 60


class Schedule(ProductCase):
    def setUp(self):
        super().setUp()
        samples.write(os.path.join(self.scope, "test-file.com"), samples.test_file())
        self.product.start_service()

    def set_schedule(self, seconds_from_now, *more):
        time = datetime.datetime.now() + datetime.timedelta(seconds=seconds_from_now)
        self.product.control("--set-schedule", str(FULL_SCAN), "RuleType=Daily", f"StartTime={time:%H:%M:%S}", *more)

    def starts(self):
        """Who has started the scan, each time."""
        _, document = self.product.control_json("--event-query", "--event-type", "TaskStateChanged",
                                                "--task-id", str(FULL_SCAN))
        return [event["initiator"] for event in document["events"]
                if {"name": "TaskState", "value": "Started"} in event["fields"]]

    def last_run(self):
        return self.product.control_json("--get-task-state", str(FULL_SCAN))[1]["lastRun"]

    def wait_scanned(self):
        wait_until(lambda: (self.last_run() or {}).get("finished"), 60, "the scan has run")
        self.assertEqual(self.last_run()["threatsFound"], 1)

    def restart_a_day_after_the_last_look(self):
        """As if the service hadn't run since yesterday."""
        self.assertEqual(self.product.stop_service(), 0)
        with open(self.product.task_state, encoding="utf-8") as file:
            state = json.load(file)
        next(task for task in state["tasks"] if task["taskId"] == FULL_SCAN)["scheduleServed"] -= DAY
        with open(self.product.task_state, "w", encoding="utf-8") as file:
            json.dump(state, file)
        self.product.start_service()

    def test_it_starts_at_its_time(self):
        self.set_schedule(5)
        self.assertEqual(self.starts(), [])
        self.wait_scanned()
        self.assertEqual(self.starts(), ["Scheduler"])

    def test_a_missed_start_is_made_up_once_where_asked_for(self):
        self.set_schedule(-10 * 60, "RunMissed=no")
        self.restart_a_day_after_the_last_look()
        hold_for(lambda: self.starts() == [], 2, "a missed start is left out")
        self.set_schedule(-10 * 60, "RunMissed=yes")
        self.restart_a_day_after_the_last_look()
        self.wait_scanned()
        self.assertEqual(self.product.stop_service(), 0)
        self.product.start_service()
        hold_for(lambda: self.starts() == ["Scheduler"], 2, "it is made up once")


if __name__ == "__main__":
    unittest.main()
