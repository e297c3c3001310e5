# SPDX-License-Identifier: GPL-2.0-or-later
"""A hundred custom scans at once; scans that are paused, resumed and stopped while signatures are exchanged."""

import concurrent.futures
import contextlib
import json
import os
import signal
import subprocess
import threading
import unittest

from tesl_support import samples
from tesl_support.case import ProductCase
from tesl_support.processes import children_of
from tesl_support.source_folder import SourceFolder
from tesl_support.waiting import wait_until

SCANS = 100
AT_ONCE = 8  # commands; the service takes a few more connections from one user
CLEAN = 5
UPDATES = 5


class Crowd(ProductCase):
    def each(self, function, items):
        with concurrent.futures.ThreadPoolExecutor(AT_ONCE) as pool:
            return list(pool.map(function, items))

    def tasks(self):
        return self.product.control_json("--get-task-list")[1]["tasks"]

    @contextlib.contextmanager
    def scanner_held(self):
        """No large file gets its verdict meanwhile, by no worker, also by those that are only forked now."""
        def signal_workers(number):
            for parent in children_of(self.product.service.pid):
                for worker in children_of(parent):
                    with contextlib.suppress(ProcessLookupError):
                        os.kill(worker, number)

        over = threading.Event()

        def hold():
            while not over.wait(0.005):
                signal_workers(signal.SIGSTOP)

        holder = threading.Thread(target=hold)
        holder.start()
        try:
            yield
        finally:
            over.set()
            holder.join()
            signal_workers(signal.SIGCONT)

    def states_once_begun(self):
        """Of the scans that are there, when all of them run; those that have ended are gone."""
        states = [task["state"] for task in self.tasks() if task["temporary"]]
        return states if all(state == "Started" for state in states) else None

    def make_area(self, number):
        area = os.path.join(self.scope, f"area-{number}")
        os.makedirs(area)
        os.link(os.path.join(self.folder, "large-000.bin"), os.path.join(area, "a-large.bin"))
        samples.write(os.path.join(area, "test-file.com"), samples.test_file())
        for i in range(CLEAN):
            samples.write(os.path.join(area, f"clean-{i}.txt"), f"{number} {i}\n".encode())
        return area

    def make_task(self, area):
        return str(self.product.control_json("--create-task", area)[1]["created"]["id"])

    def test_a_hundred_scans_at_once_each_find_what_is_theirs(self):
        samples.write_large(self.folder, count=1, megabytes=4)
        self.product.start_service()
        self.product.control("--scan-file", self.make_area("first"), check=False)
        # Where files are looked at as they are opened, every command would wait for the scanner that is held below.
        self.product.control("--stop-task", "1", check=False)
        wait_until(lambda: not any(task["id"] == 1 and task["state"] != "Stopped" for task in self.tasks()), 30,
                   "protection in real time has stopped")
        descriptors = self.product.service.descriptors()
        tasks = self.each(self.make_task, map(self.make_area, range(SCANS)))
        self.assertEqual(len(set(tasks)), SCANS)
        code, document = self.product.control_json("--create-task", self.scope)
        self.assertEqual(code, 65, "one more than a user may have")
        self.assertIn("Too many tasks", document["error"]["text"], document)

        with self.scanner_held():
            self.each(lambda task: self.product.control("--start-task", task), tasks)
            states = wait_until(self.states_once_begun, 60, "all of them have begun")
            # On a busy machine one or another comes to its end through a worker that was forked just now.
            self.assertGreater(len(states), SCANS * 3 // 4, "most of them run at once")
        wait_until(lambda: not any(task["temporary"] for task in self.tasks()), 120, "all of them have ended")
        runs = {str(run["task"]["id"]): run for run in self.product.control_json("--get-statistics")[1]["statistics"]}
        for task in tasks:
            counted = [runs[task][key] for key in ("scannedObjects", "threatsFound", "scanErrors")]
            self.assertEqual(counted, [CLEAN + 2, 1, 0], task)
        wait_until(lambda: self.product.service.descriptors() <= descriptors, 20, "what they had open is closed")

    def test_a_storm_of_commands_while_signatures_are_exchanged_loses_nothing(self):
        threats = {samples.write(os.path.join(self.scope, f"folder-{i}", "test-file.com"), samples.test_file())
                   for i in range(40)}
        for i in range(40):
            samples.write_large(os.path.join(self.scope, f"folder-{i}"), count=1, megabytes=8)
        self.product.configure_service(scanScope=[self.scope], scannerWorkers=1)
        self.product.start_service()
        source = SourceFolder(self.product, os.path.join(self.folder, "source"))
        self.product.control("--start-task", "2")
        for number in range(UPDATES):
            source.add_pattern(b"a text that no file has %d" % number, f"Test.Storm.{number}", f"storm-{number}.ndb")
            update = subprocess.Popen([self.product.control_program, "--json", "--update"], stdout=subprocess.PIPE)
            while update.poll() is None:
                # Whether each of them comes at a good moment is not the point.
                self.product.control("--suspend-task", "2", check=False)
                task = self.make_task(self.scope)
                self.product.control("--start-task", task, check=False)
                self.product.control("--stop-task", task, check=False)
                self.product.control("--resume-task", "2", check=False)
            self.assertEqual(json.loads(update.communicate()[0])["update"]["result"], "updated")

        def full_scan():
            self.product.control("--resume-task", "2", check=False)
            return self.product.control_json("--get-task-state", "2")[1]
        wait_until(lambda: full_scan()["task"]["state"] == "Stopped", 120, "the scan ends")
        run = full_scan()["lastRun"]
        self.assertEqual((run["scannedObjects"], run["threatsFound"], run["scanErrors"]), (80, len(threats), 0))
        wait_until(lambda: not any(task["temporary"] for task in self.tasks()), 60, "the stopped scans have gone")
        wait_until(lambda: len(children_of(self.product.service.pid)) == 1, 60, "the scanners that were left have gone")


if __name__ == "__main__":
    unittest.main()
