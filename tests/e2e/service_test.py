# SPDX-License-Identifier: GPL-2.0-or-later
"""tesl-service as its manager sees it: what it tells, how it ends, and whom it lets in beside itself."""

import os
import signal
import socket
import time
import unittest

from tesl_support import samples
from tesl_support.case import ProductCase
from tesl_support.processes import children_of, is_running_program
from tesl_support.waiting import wait_until

FULL_SCAN = "Scan_My_Computer"
FILES = 20
WATCHDOG = 1.0


class Manager:
    """The receiving end of a service manager's socket: what was told, and when."""

    def __init__(self, folder):
        self.told = []
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self._path = os.path.join(folder, "notify")
        self._socket.bind(self._path)
        self._socket.setblocking(False)

    def environment(self):
        return {"NOTIFY_SOCKET": self._path, "WATCHDOG_USEC": str(int(WATCHDOG * 1e6))}

    def has_told(self, word, times=1):
        while True:
            try:
                text = self._socket.recv(4096).decode()
            except BlockingIOError:
                return self.words().count(word) >= times
            self.told += [(line, time.monotonic()) for line in text.splitlines()]

    def words(self):
        return [word for word, _ in self.told]

    def close(self):
        self._socket.close()


class Service(ProductCase):
    def setUp(self):
        super().setUp()
        self.manager = Manager(self.folder)
        self.addCleanup(self.manager.close)

    def test_tells_its_manager_when_it_serves_lives_and_stops(self):
        service = self.product.spawn_service(**self.manager.environment())
        wait_until(lambda: self.manager.has_told("READY=1"), 20, "the service is ready")
        self.assertTrue(self.product.listens(), "told ready before it served")
        wait_until(lambda: self.manager.has_told("WATCHDOG=1", times=4), 20, "the service tells that it lives")
        times = [when for _, when in self.manager.told]
        self.assertLess(max(after - before for before, after in zip(times, times[1:])), WATCHDOG)
        service.signal(signal.SIGTERM)
        wait_until(lambda: self.manager.has_told("STOPPING=1"), 20, "the service tells that it stops")
        self.assertEqual(service.wait(20), 0)
        self.manager.has_told("")
        words = self.manager.words()
        self.assertEqual((words[0], words[-1]), ("READY=1", "STOPPING=1"))
        self.assertEqual(set(words[1:-1]), {"WATCHDOG=1"})
        self.assertEqual(service.output(), "")

    def test_ends_in_mid_scan_when_asked(self):
        samples.write_large(self.scope, count=FILES, megabytes=16)
        # One worker, so that a scan lasts.
        self.product.configure_service(scanScope=[self.scope], scannerWorkers=1)
        self.product.start_service()
        self.product.control("--start-task", FULL_SCAN)
        seen = wait_until(lambda: self.running_scan()["scannedObjects"], 20, "the scan is on its way")
        helpers = children_of(self.product.service.pid)
        self.assertTrue(helpers)
        begin = time.monotonic()
        self.assertEqual(self.product.stop_service(), 0)
        self.assertLess(time.monotonic() - begin, 5)
        self.assertFalse(os.path.exists(self.product.socket))
        wait_until(lambda: not any(map(is_running_program, helpers)), 5, "the scanner goes with its service")

        self.product.start_service()
        _, document = self.product.control_json("--get-task-state", FULL_SCAN)
        self.assertEqual(document["task"]["state"], "Suspended", "it can be gone on with")
        self.assertGreaterEqual(document["lastRun"]["scannedObjects"], seen)
        self.assertLess(document["lastRun"]["scannedObjects"], FILES)
        self.assertIsNone(self.product.control_json("--app-info")[1]["appInfo"]["lastFullScan"])
        self.assertEqual(self.told("TaskStateChanged", "TaskState", "--task-type", "ODS"),
                         ["Starting", "Started", "Stopping", "Suspended"])
        self.assertEqual(self.told("ApplicationStopped", "ApplicationStopReason"), ["NormalExit"])
        self.assertEqual(self.told("OnDemandTaskInterrupted", "TaskName"), [FULL_SCAN])

        self.product.control("--resume-task", FULL_SCAN)
        wait_until(lambda: self.state_of_scan() == "Stopped", 60, "the scan has gone on to its end")
        self.assertIsNotNone(self.product.control_json("--app-info")[1]["appInfo"]["lastFullScan"])
        _, document = self.product.control_json("--get-task-state", FULL_SCAN)
        self.assertAlmostEqual(document["lastRun"]["scannedObjects"], FILES, delta=4,
                               msg="what was in work when the service stopped is scanned again")

    def state_of_scan(self):
        return self.product.control_json("--get-task-state", FULL_SCAN)[1]["task"]["state"]

    def running_scan(self):
        _, document = self.product.control_json("--get-task-state", FULL_SCAN)
        self.assertIn(document["task"]["state"], ("Starting", "Started"), "the scan is over already")
        return document["lastRun"]

    def told(self, event_type, field_name, *options):
        """That field of all stored events of the type, oldest first."""
        _, document = self.product.control_json("--event-query", "--event-type", event_type, "--order", "asc",
                                                *options)
        return [field["value"] for event in document["events"] for field in event["fields"]
                if field["name"] == field_name]

    def test_a_second_one_is_refused(self):
        first = self.product.start_service()
        second = self.product.spawn_service("second", **self.manager.environment())
        self.product.service = first
        self.assertEqual(second.wait(20), 3)
        line, = second.output().splitlines()
        self.assertRegex(line, "^tesl-service: already running .* is locked")
        self.assertFalse(self.manager.has_told("READY=1"))
        self.assertEqual(self.manager.told, [])
        self.assertTrue(self.product.answers())

    def test_signatures_that_are_there_already_are_used_as_they_are(self):
        marker = b"a sample of the set that was here first\n"
        text = f"Set.Before.Service:0:*:{marker.hex()}\n".encode()
        samples.write(os.path.join(self.product.bases_folder, "daily.ndb"), text)
        samples.write(os.path.join(self.product.bases_folder, "freshclam.dat"), os.urandom(100))
        found = samples.write(os.path.join(self.scope, "found"), b"before " + marker)
        samples.write(os.path.join(self.scope, "not-of-this-set"), samples.test_file())
        self.product.start_service()
        _, document = self.product.control_json("--app-info")
        self.assertEqual(document["appInfo"]["basesRecords"], 1)
        code, document = self.product.control_json("--scan-file", self.scope)
        self.assertEqual(code, 1, document)
        self.assertEqual([(threat["path"], threat["threat"]) for threat in document["threats"]],
                         [(found, "Set.Before.Service")])
        left = set(os.listdir(self.product.bases_folder))
        self.assertLessEqual({"freshclam.dat", "current", "sets"}, left)
        current = os.path.join(self.product.bases_folder, "current")
        self.assertEqual(os.listdir(current), ["daily.ndb"])


if __name__ == "__main__":
    unittest.main()
