# SPDX-License-Identifier: GPL-2.0-or-later
"""The protection in real time with the real service, on a file system that this program alone sees."""

import ctypes
import os
import signal
import subprocess
import unittest

from tesl_support import samples
from tesl_support.case import ProductCase
from tesl_support.processes import Process, children_of
from tesl_support.waiting import wait_until

TASK = "File_Monitoring"
CLONE_NEWNS = 0x00020000
# Before any thread is made. What is mounted here is seen by this process and those that it starts.
OWN_MOUNTS = (os.geteuid() == 0 and ctypes.CDLL(None).unshare(CLONE_NEWNS) == 0
              and subprocess.run(["mount", "--make-rprivate", "/"], check=False).returncode == 0)


class RealTime(ProductCase):
    def setUp(self):
        if not OWN_MOUNTS:
            self.skipTest("not run: no mounts of our own may be made here")
        super().setUp()
        self.files = os.path.join(self.folder, "files")
        os.makedirs(self.files)
        subprocess.run(["mount", "-t", "tmpfs", "tesl-test", self.files], check=True)
        self.addCleanup(subprocess.run, ["umount", "--lazy", self.files], check=False)

    def state(self):
        return self.product.control_json("--get-task-state", TASK)[1]["task"]["state"]

    def wait_state(self, state):
        wait_until(lambda: self.state() == state, 30, f"the task is {state}")

    def protect(self, **settings):
        """Starts the service and has it protect the files."""
        self.product.start_service()
        self.wait_state("Started")
        self.product.control("--stop-task", TASK)
        self.wait_state("Stopped")
        self.product.control("--set-settings", TASK, f"ScanAreas.item_0000={self.files}",
                             *(f"{key}={value}" for key, value in settings.items()))
        self.product.control("--start-task", TASK)
        self.wait_state("Started")

    def events(self, event_type):
        """The fields of the task's events of a type."""
        _, document = self.product.control_json("--event-query", "--event-type", event_type, "--task-type", "OAS")
        return [{field["name"]: field["value"] for field in event["fields"]} for event in document["events"]]

    def wait_threat(self, path):
        wait_until(lambda: any(fields["FileName"] == path for fields in self.events("ThreatDetected")), 30,
                   f"the threat in {path} is told")

    def test_a_written_threat_is_told_and_gone(self):
        self.protect()
        path = samples.write(os.path.join(self.files, "test-file.com"), samples.test_file())
        self.wait_threat(path)
        wait_until(lambda: not os.path.exists(path), 30, "the threat is gone")
        wait_until(lambda: self.events("ObjectDeleted"), 30, "its removal is told")
        self.assertEqual([fields["FileName"] for fields in self.events("ObjectDeleted")], [path])
        self.assertEqual([fields["FileName"] for fields in self.events("ObjectSavedToBackup")], [path])
        wait_until(lambda: self.product.control_json("--get-task-state", TASK)[1]["lastRun"]["threatsFound"] >= 1, 10,
                   "it is counted")

    def test_a_reader_is_denied_a_threat_where_every_open_waits(self):
        path = samples.write(os.path.join(self.files, "test-file.com"), samples.test_file())
        self.protect(ScanByAccessType="Open", FirstAction="Block")
        with self.assertRaises(PermissionError):
            open(path, "rb")
        self.wait_threat(path)
        self.assertTrue(os.path.exists(path))
        self.product.control("--stop-task", TASK)
        self.wait_state("Stopped")
        with open(path, "rb") as file:
            self.assertEqual(file.read(), samples.test_file())

    def test_whether_it_ran_is_remembered(self):
        self.protect()
        self.product.kill_service()
        self.product.start_service()
        self.wait_state("Started")
        self.assertEqual(self.events("OnDemandTaskInterrupted"), [])
        self.product.control("--stop-task", TASK)
        self.wait_state("Stopped")
        self.product.stop_service()
        self.product.start_service()
        self.assertEqual(self.state(), "Stopped")
        self.product.control("--start-task", TASK)
        self.wait_state("Started")
        self.product.stop_service()
        self.product.start_service()
        self.wait_state("Started")

    def test_who_waits_is_let_through_when_the_service_dies(self):
        path = samples.write(os.path.join(self.files, "file"), b"nothing here\n")
        self.protect(ScanByAccessType="Open", TimeLimit=60)
        scanner = children_of(self.product.service.pid)
        everybody = [pid for parent in scanner for pid in children_of(parent)] + scanner
        for pid in everybody:
            os.kill(pid, signal.SIGSTOP)
        reader = Process("reader", ["cat", path], self.product.logs)
        wait_until(lambda: "fanotify" in self.kernel_stack(reader.pid) or not reader.is_alive(), 20,
                   "the reader waits for its verdict")
        self.assertTrue(reader.is_alive(), "it wasn't held up")
        self.product.kill_service()
        for pid in everybody:
            try:
                os.kill(pid, signal.SIGCONT)
            except ProcessLookupError:
                pass
        self.assertEqual(reader.wait(20), 0)

    @staticmethod
    def kernel_stack(pid):
        try:
            with open(f"/proc/{pid}/stack", encoding="ascii") as file:
                return file.read()
        except OSError:
            return ""

    def test_without_the_right_it_says_that_it_does_not_protect(self):
        self.product.service = Process("service", ["setpriv", "--bounding-set", "-sys_admin", "--inh-caps", "-sys_admin",
                                                   "--", self.product.service_program], self.product.logs)
        wait_until(lambda: not self.product.service.is_alive() or self.product.answers(), 60, "the service answers")
        wait_until(lambda: self.events("TaskNotStarted"), 20, "the task is told as not started")
        self.assertEqual(self.events("TaskNotStarted")[0]["TaskNotStartedReason"], "InterceptionDriverError")
        self.assertEqual(self.state(), "Stopped")


if __name__ == "__main__":
    unittest.main()
