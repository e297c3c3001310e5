# SPDX-License-Identifier: GPL-2.0-or-later
"""tesl-control against the real service, and against none."""

import json
import os
import signal
import subprocess
import threading
import time
import unittest
import zipfile

from tesl_support import samples
from tesl_support.case import ProductCase
from tesl_support.processes import children_of, is_running_program
from tesl_support.waiting import wait_until


class WithoutService(ProductCase):
    def test_says_so_and_has_a_code_of_its_own(self):
        for arguments in (["--get-task-list"], ["--app-info"], ["--start-task", "2"], ["--scan-file", "/etc/hostname"]):
            with self.subTest(arguments):
                done = self.product.control(*arguments, check=False)
                self.assertEqual(done.returncode, 69)
                self.assertEqual(done.stdout, b"")
                self.assertEqual(done.stderr.count(b"\n"), 1)
                self.assertIn(b"cannot be reached", done.stderr)
                code, document = self.product.control_json(*arguments)
                self.assertEqual(code, 69)
                self.assertEqual(document["error"]["code"], "unavailable")

    def test_help_and_usage_need_no_service(self):
        self.assertIn(b"--scan-file", self.product.control("--help").stdout)
        self.assertIn(b"--event-type NAME", self.product.control("--event-query", "--help").stdout)
        self.assertEqual(self.product.control("--bogus", check=False).returncode, 64)

    def test_a_stale_socket_file_is_no_service(self):
        samples.write(self.product.socket, b"")
        code, document = self.product.control_json("--app-info")
        self.assertEqual(code, 69, document)


class WithService(ProductCase):
    def setUp(self):
        super().setUp()
        samples.write(os.path.join(self.scope, "clean.txt"), b"nothing here\n")
        self.product.start_service()

    def scan(self, *paths):
        return self.product.control_json("--scan-file", *paths)

    def test_tells_about_service_and_tasks(self):
        code, document = self.product.control_json("--app-info")
        self.assertEqual(code, 0)
        self.assertTrue(document["appInfo"]["basesLoaded"])
        self.assertGreater(document["appInfo"]["basesRecords"], 0)
        code, document = self.product.control_json("--get-task-list")
        self.assertEqual(code, 0)
        names = {task["id"]: task["name"] for task in document["tasks"]}
        self.assertEqual(names[2], "Scan_My_Computer")
        _, by_id = self.product.control_json("--get-task-state", "2")
        _, by_name = self.product.control_json("--get-task-state", "Scan_My_Computer")
        self.assertEqual(by_id, by_name)
        for arguments in (["--get-task-state", "Nothing"], ["--start-task", "999"], ["--stop-task", "x" * 5000]):
            code, document = self.product.control_json(*arguments)
            self.assertEqual(code, 66, (arguments, document))

    def test_runs_the_full_scan(self):
        samples.write(os.path.join(self.scope, "test-file.com"), samples.test_file())
        self.product.control("--start-task", "Scan_My_Computer")

        def last_run():
            _, document = self.product.control_json("--get-task-state", "2")
            return document["task"]["state"] == "Stopped" and document["lastRun"]

        run = wait_until(last_run, 60, "the scan ends")
        self.assertEqual((run["scannedObjects"], run["threatsFound"]), (2, 1))

    def full_scan(self):
        """The full scan's state and the counters of its last run."""
        _, document = self.product.control_json("--get-task-state", "Scan_My_Computer")
        return document["task"]["state"], document["lastRun"]

    def start_and_suspend_the_full_scan(self):
        """Over 53 files, with some behind it and some still before it."""
        samples.write_large(os.path.join(self.scope, "large"), count=50, megabytes=16)
        samples.write(os.path.join(self.scope, "a", "test-file.com"), samples.test_file())
        samples.write(os.path.join(self.scope, "z", "test-file.com"), samples.test_file())
        self.product.control("--start-task", "2")
        wait_until(lambda: self.full_scan()[1]["scannedObjects"] > 2, 30, "the scan is on its way")
        self.product.control("--suspend-task", "Scan_My_Computer")
        wait_until(lambda: self.full_scan()[0] == "Suspended", 10, "the scan is suspended")

    def test_a_suspended_scan_stands_still_and_goes_on(self):
        self.assertEqual(self.product.control_json("--suspend-task", "2")[0], 65)
        self.start_and_suspend_the_full_scan()
        self.assertEqual(self.product.control_json("--suspend-task", "2")[0], 65)
        self.assertEqual(self.product.control_json("--start-task", "2")[0], 65)
        reading, since = self.full_scan(), time.monotonic()

        def stands_still():
            nonlocal reading, since
            before, reading = reading, self.full_scan()
            if reading != before:
                since = time.monotonic()
            return time.monotonic() - since > 3

        # What was in hand when the command came may still be told.
        wait_until(stands_still, 15, "the counters stand still for three seconds")
        self.assertEqual(reading[0], "Suspended")
        self.assertLess(reading[1]["scannedObjects"], 53)

        _, document = self.product.control_json("--resume-task", "2")
        self.assertIn(document["task"]["state"], ("Resuming", "Started"))
        self.assertEqual(self.product.control_json("--resume-task", "2")[0], 65)
        run = wait_until(lambda: self.full_scan()[0] == "Stopped" and self.full_scan()[1], 120, "the scan ends")
        self.assertEqual((run["scannedObjects"], run["threatsFound"], run["scanErrors"]), (53, 2, 0))
        self.assertTrue(run["finished"])
        _, document = self.product.control_json("--event-query", "--event-type", "ThreatDetected")
        self.assertEqual(len(document["events"]), 2)
        _, document = self.product.control_json("--event-query", "--event-type", "TaskStateChanged", "--task-type", "ODS",
                                                "--order", "asc")
        states = [field["value"] for event in document["events"] for field in event["fields"]
                  if field["name"] == "TaskState"]
        self.assertEqual(states, ["Starting", "Started", "Pausing", "Suspended", "Resuming", "Started", "Stopped"])

    def test_a_suspended_scan_can_be_stopped(self):
        self.start_and_suspend_the_full_scan()
        self.product.control("--stop-task", "2")
        run = wait_until(lambda: self.full_scan()[0] == "Stopped" and self.full_scan()[1], 20, "the scan is stopped")
        self.assertLess(run["scannedObjects"], 53)
        self.assertEqual(self.product.control_json("--resume-task", "2")[0], 65)

    def test_tells_the_result_of_a_scan_by_its_code(self):
        self.assertEqual(self.scan(self.scope)[0], 0)
        samples.write_zip(os.path.join(self.scope, "a.zip"), {"inner/test-file.com": samples.test_file()})
        code, document = self.scan(self.scope)
        self.assertEqual(code, 1, document)
        self.assertEqual([threat["path"] for threat in document["threats"]], [os.path.join(self.scope, "a.zip")])
        self.assertTrue(document["threats"][0]["threat"])
        self.assertEqual(document["summary"]["threatsFound"], 1)
        text = self.product.control("--scan-file", self.scope, check=False)
        self.assertEqual(text.returncode, 1)
        self.assertIn(b"Threat detected: ", text.stdout)

    def test_never_calls_a_file_clean_that_it_could_not_read(self):
        path = os.path.join(self.scope, "locked.zip")
        with zipfile.ZipFile(path, "w") as archive:
            archive.writestr("a.txt", b"hidden " * 100)
        with open(path, "rb") as file:
            content = bytearray(file.read())
        for mark, offset in ((b"PK\x03\x04", 6), (b"PK\x01\x02", 8)):
            content[content.index(mark) + offset] |= 1  # the flag of an encrypted member
        samples.write(path, bytes(content))
        code, document = self.scan(path)
        self.assertEqual(code, 2, document)
        self.assertEqual(document["notProcessed"][0]["path"], path)
        self.assertTrue(document["notProcessed"][0]["reason"])

    def test_hostile_names_harm_neither_terminal_nor_document(self):
        names = [b"new\nline", b"escape\x1b[2J", b"$(reboot)`x`;", b"wrong\xff\xfeutf", b"\xe2\x80\xaegpj", b"--json",
                 b"[a,b]", b"'\"\\"]
        folder = os.path.join(self.folder, "names").encode()
        for name in names:
            samples.write(os.path.join(folder, name), samples.test_file())
        code, document = self.scan(folder.decode())
        self.assertEqual(code, 1)
        told = {bytes.fromhex(threat["pathHex"]) if "pathHex" in threat else threat["path"].encode()
                for threat in document["threats"]}
        self.assertEqual(told, {os.path.join(folder, name) for name in names})

        text = self.product.control("--scan-file", folder, check=False).stdout
        self.assertEqual(text.count(b"Threat detected: "), len(names))
        self.assertEqual(sum(line.startswith(b"Threat detected: ") for line in text.splitlines()), len(names))
        self.assertNotIn(b"\x1b", text)
        text.decode("utf-8")

        done = subprocess.run([self.product.control_program, "--scan-file", "--json", "--", "--json", "[a,b]"],
                              cwd=folder, stdout=subprocess.PIPE, check=False, timeout=60)
        self.assertEqual(len(json.loads(done.stdout)["threats"]), 2)

    def start_long_scan(self):
        samples.write_large(self.scope, count=60, megabytes=16)
        scan = subprocess.Popen([self.product.control_program, "--scan-file", self.scope, "--json"],
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(scan.wait)
        self.addCleanup(scan.kill)

        def is_running():
            _, document = self.product.control_json("--get-task-list")
            return any(task["temporary"] and task["state"] == "Started" for task in document["tasks"])

        wait_until(is_running, 30, "the scan runs")
        return scan

    def test_ctrl_c_stops_the_scan(self):
        scan = self.start_long_scan()
        scan.send_signal(signal.SIGINT)
        output, _ = scan.communicate(timeout=20)
        self.assertEqual(scan.returncode, 3)
        self.assertEqual(json.loads(output)["summary"]["end"], "stopped")

        def is_gone():
            _, document = self.product.control_json("--get-task-list")
            return all(task["state"] == "Stopped" for task in document["tasks"] if task["temporary"])

        wait_until(is_gone, 10, "the task is stopped in the service too")

    def test_survives_the_service_going_away(self):
        scan = self.start_long_scan()
        helpers = children_of(self.product.service.pid)
        self.assertTrue(helpers)
        os.kill(self.product.service.pid, signal.SIGKILL)
        output, errors = scan.communicate(timeout=20)
        self.assertEqual(scan.returncode, 69, errors)
        self.assertEqual(json.loads(output)["error"]["code"], "unavailable")
        wait_until(lambda: not any(is_running_program(pid) for pid in helpers),
                   10, "the scanner goes with its service")

    def test_tells_stored_events_by_their_filters(self):
        samples.write(os.path.join(self.scope, "test-file.com"), samples.test_file())
        self.assertEqual(self.scan(self.scope)[0], 1)
        code, document = self.product.control_json("--event-query", "--event-type", "ThreatDetected")
        self.assertEqual(code, 0)
        event, = document["events"]
        fields = {field["name"]: field["value"] for field in event["fields"]}
        self.assertEqual(fields["FileName"], os.path.join(self.scope, "test-file.com"))
        self.assertEqual(fields["ObjectName"], "File")
        _, document = self.product.control_json("--event-query", "--task-id", str(fields["TaskId"]), "--order", "asc")
        ids = [event["id"] for event in document["events"]]
        self.assertEqual(ids, sorted(ids))
        self.assertEqual(document["events"][0]["type"], "TaskCreated")
        self.assertIn(event["id"], ids)
        _, document = self.product.control_json("--event-query", "--from", "2020-01-01", "--to", "2020-01-02")
        self.assertEqual(document["events"], [])
        _, document = self.product.control_json("--event-query", "--limit", "1")
        self.assertEqual(len(document["events"]), 1)
        text = self.product.control("--event-query", "--event-type", "ThreatDetected").stdout.decode()
        self.assertIn(" ThreatDetected\n", text)

    def follow_events(self, *arguments):
        follower = subprocess.Popen([self.product.control_program, "--wait-events", "--json", *arguments],
                                    stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(follower.communicate)
        self.addCleanup(follower.kill)
        return follower

    def first_event(self, follower):
        """Scans until the follower, whenever it has subscribed, has told something."""
        lines = []
        reader = threading.Thread(target=lambda: lines.append(follower.stdout.readline()))
        reader.start()

        def has_told():
            self.scan(self.scope)
            return lines

        wait_until(has_told, 30, "the follower tells an event")
        reader.join()
        return json.loads(lines[0])

    def test_follows_events_until_ctrl_c(self):
        follower = self.follow_events("--event-type", "TaskStateChanged", "--task-type", "ODS")
        self.assertEqual(self.first_event(follower)["type"], "TaskStateChanged")
        follower.send_signal(signal.SIGINT)
        output, errors = follower.communicate(timeout=20)
        self.assertEqual((follower.returncode, errors), (0, b""))
        for line in output.splitlines():
            self.assertEqual(json.loads(line)["type"], "TaskStateChanged")

    def test_following_events_ends_with_the_service(self):
        follower = self.follow_events()
        self.first_event(follower)
        os.kill(self.product.service.pid, signal.SIGKILL)
        output, _ = follower.communicate(timeout=20)
        self.assertEqual(follower.returncode, 69)
        self.assertEqual(json.loads(output.splitlines()[-1])["error"]["code"], "unavailable")


if __name__ == "__main__":
    unittest.main()
