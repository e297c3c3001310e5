# SPDX-License-Identifier: GPL-2.0-or-later
"""What the service says about the device, as tesl-control --app-info tells it."""

import os
import shutil
import time
import unittest

from tesl_support import samples
from tesl_support.case import ProductCase
from tesl_support.waiting import wait_until

DAY = 86400
SIGNATURE = b"Test.Of.Its.Age:0:*:6120736967\n"


class AppInfo(ProductCase):
    def write_databases(self, age):
        """One file of signatures, that many seconds old, is all that the service finds."""
        path = samples.write(os.path.join(self.product.bases_folder, "daily.ndb"), SIGNATURE)
        date = int(time.time()) - age
        os.utime(path, (date, date))
        return date

    def restart_with(self, age):
        if self.product.service is not None:
            self.product.stop_service()
        shutil.rmtree(self.product.bases_folder, ignore_errors=True)
        date = self.write_databases(age)
        self.product.start_service()
        return date

    def told(self):
        code, document = self.product.control_json("--app-info")
        self.assertEqual(code, 0, document)
        return document["appInfo"], document["overview"]

    def text(self):
        return self.product.control("--app-info").stdout.decode().splitlines()

    def issues(self):
        return {issue["action"]: issue for issue in self.told()[1]["issues"]}

    def fields(self, event_type):
        _, document = self.product.control_json("--event-query", "--event-type", event_type, "--order", "asc")
        return [{field["name"]: field["value"] for field in event["fields"]} for event in document["events"]]

    def test_databases_are_judged_by_their_date(self):
        rows = ((2 * DAY + 3600, "Databases are up to date.", None, None, "ok"),
                (3 * DAY + 60, "Databases are out of date.", "Databases are out of date", "AVBasesAreOutOfDate",
                 "warning"),
                (7 * DAY + 3600, "Databases are out of date.", "Databases are out of date", "AVBasesAreOutOfDate",
                 "warning"),
                (8 * DAY + 60, "Databases are totally out of date.", "Databases are totally out of date",
                 "AVBasesAreTotallyOutOfDate", "critical"),
                (-30 * DAY, "Databases are up to date.", None, None, "ok"))
        events = {"AVBasesAreOutOfDate": 0, "AVBasesAreTotallyOutOfDate": 0}
        for age, line, title, event, level in rows:
            with self.subTest(age=age):
                date = self.restart_with(age)
                info, overview = self.told()
                self.assertEqual(info["basesDate"], time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(date)))
                self.assertEqual(overview["databases"], line)
                self.assertEqual(overview["level"], level if info["realTimeProtection"] else "critical")
                text = self.text()
                self.assertIn("  " + line, text)
                self.assertEqual(text[0], overview["verdict"].splitlines()[0])
                issue = self.issues().get("start-update")
                self.assertEqual(issue and issue["title"], title)
                if title:
                    self.assertIn("  " + title, text)
                    events[event] += 1
                    wait_until(lambda: len(self.fields(event)) == events[event], 20, "the age is told")
                for name, count in events.items():
                    self.assertEqual(len(self.fields(name)), count)
                days = age // DAY
                ago = f"{days} days ago" if age > 0 else "less than a minute ago"
                self.assertEqual(overview["lastUpdate"], f"Last update: {ago}")

    def test_damaged_databases_are_told_as_not_loaded(self):
        samples.write(os.path.join(self.product.bases_folder, "daily.ndb"), b"this is no signature\n")
        self.product.spawn_service()
        wait_until(self.product.listens, 30, "the service listens")
        wait_until(lambda: self.fields("AVBasesIntegrityCheckFailed"), 30, "the signatures are refused")
        info, overview = self.told()
        self.assertEqual((info["basesLoaded"], info["canRunProtection"]), (False, True))
        self.assertEqual(overview["databases"], "Anti-virus databases are not loaded")
        self.assertEqual(overview["lastUpdate"], "Never run")
        self.assertEqual(overview["level"], "critical")
        self.assertEqual(self.issues()["start-update"]["title"], "Databases are not loaded")
        self.assertFalse(self.issues()["start-scan"]["available"])

    def test_the_full_scan_is_missed_until_it_was_run(self):
        samples.write(os.path.join(self.scope, "test-file.com"), samples.test_file())
        self.product.start_service()
        self.assertEqual(self.told()[1]["lastScan"], "Never run")
        self.assertEqual(self.issues()["start-scan"]["task"], "Scan_My_Computer")
        self.assertTrue(self.issues()["start-scan"]["available"])
        self.product.control("--start-task", "2", "--wait", check=False)
        overview = self.told()[1]
        self.assertEqual(overview["lastScan"], "Last scan: less than a minute ago")
        self.assertEqual(overview["lastScanResult"], "Threat detected")
        self.assertNotIn("start-scan", self.issues())
        self.assertIn("  Threat detected", self.text())

    def test_stopped_file_monitoring_is_a_danger(self):
        self.product.start_service()
        if not self.told()[0]["realTimeProtection"]:
            self.skipTest("not run: file monitoring isn't permitted here")
        self.assertNotIn("enable-component", self.issues())
        self.product.control("--stop-task", "File_Monitoring")
        _, overview = wait_until(lambda: not self.told()[0]["realTimeProtection"] and self.told(), 10, "it stops")
        self.assertEqual(overview["verdict"], "Your device is in danger\n1 threat")
        issue = self.issues()["enable-component"]
        self.assertEqual((issue["title"], issue["task"], issue["available"]),
                         ("Protection is disabled", "File_Monitoring", True))
        self.product.control("--start-task", "File_Monitoring")
        wait_until(lambda: self.told()[1]["verdict"].startswith("Your device is protected well"), 10, "it runs again")
        self.assertNotIn("enable-component", self.issues())

    def test_a_newer_program_on_disk_wants_a_restart(self):
        programs = [self.product.service_program]
        if os.geteuid() == 0:  # nobody else may look at the scanner
            programs.append(os.path.join(self.product.top, "libexec/tesl-scanner"))
        for number, program in enumerate(programs):
            with self.subTest(program=os.path.basename(program)):
                self.product.start_service()
                self.assertEqual(self.told()[0]["applicationUpdate"], "unknown")
                self.assertNotIn("none", self.issues())
                shutil.copy2(program, program + ".new")
                os.rename(program + ".new", program)
                wait_until(lambda: self.told()[0]["applicationUpdate"] == "restart-required", 60, "it is seen")
                self.assertEqual(self.issues()["none"]["title"], "Restart is required")
                self.assertEqual(len(self.fields("PatchInstalled")), number + 1)
                self.product.stop_service()

    def make_program(self, name, body):
        path = samples.write(os.path.join(self.product.stage, "usr/bin", name), b"#!/bin/sh\n" + body.encode() + b"\n")
        os.chmod(path, 0o755)
        self.addCleanup(os.unlink, path)

    def test_a_newer_package_is_told_with_its_version(self):
        self.make_program("dpkg-query", "printf installed")
        self.make_program("apt-cache", "printf 'tesl:\\n  Installed: 10.1\\n  Candidate: 99.1\\n'")
        self.product.start_service()
        wait_until(lambda: self.told()[0]["applicationUpdate"] == "available", 30, "the package manager is asked")
        self.assertEqual(self.told()[0]["applicationUpdateVersion"], "99.1")
        self.assertEqual(self.issues()["none"]["title"], "Application update is ready to install.")
        self.assertTrue(any("Application update 99.1 is ready to install." in line for line in self.text()))
        self.assertEqual([event["PatchVersion"] for event in self.fields("PatchDownloaded")], ["99.1"])


if __name__ == "__main__":
    unittest.main()
