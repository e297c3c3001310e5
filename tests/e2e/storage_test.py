# SPDX-License-Identifier: GPL-2.0-or-later
"""Threats on their way into Storage: scans of the real service that take what they find."""

import os
import stat
import unittest

from tesl_support import samples
from tesl_support.case import ProductCase
from tesl_support.waiting import wait_until

ACTION = "FirstAction=Recommended"


class Storage(ProductCase):
    def setUp(self):
        super().setUp()
        self.clean = samples.write(os.path.join(self.scope, "clean.txt"), b"nothing here\n")
        self.threat = samples.write(os.path.join(self.scope, "test-file.com"), samples.test_file())
        self.product.start_service()
        # The protection in real time would be there first.
        self.product.control("--stop-task", "1", check=False)
        wait_until(self.is_protection_stopped, 20, "the protection has stopped")

    def is_protection_stopped(self):
        _, document = self.product.control_json("--get-task-list")
        return all(task["state"] == "Stopped" for task in document["tasks"] if task["id"] == 1)

    def events(self, event_type):
        _, document = self.product.control_json("--event-query", "--event-type", event_type, "--order", "asc")
        return [{field["name"]: field["value"] for field in event["fields"]} for event in document["events"]]

    def objects(self):
        folder = os.path.join(os.path.dirname(self.product.task_state), "objects")
        return folder, sorted(name for name in os.listdir(folder) if name.endswith(".object"))

    def scan(self):
        """A custom scan of the scope that takes what it finds; its statistics."""
        _, document = self.product.control_json("--create-task", self.scope)
        task = str(document["created"]["id"])
        self.product.control("--set-settings", task, ACTION)
        code, _ = self.product.control_json("--start-task", task, "--wait")
        self.assertEqual(code, 1)
        _, document = self.product.control_json("--get-statistics", task)
        return document["statistics"][0]

    def assert_taken(self, path):
        self.assertFalse(os.path.lexists(path))
        saved = self.events("ObjectSavedToBackup")
        self.assertEqual([fields["FileName"] for fields in saved], [path])
        deleted = self.events("ObjectDeleted")
        self.assertEqual([(fields["FileName"], fields["ObjectId"]) for fields in deleted],
                         [(path, saved[0]["ObjectId"])])
        folder, names = self.objects()
        self.assertEqual(names, [f"{saved[0]['ObjectId']}.object"])
        self.assertEqual(stat.S_IMODE(os.stat(folder).st_mode), 0o700)
        blob = os.path.join(folder, names[0])
        self.assertEqual(stat.S_IMODE(os.stat(blob).st_mode), 0o600)
        with open(blob, "rb") as file:
            self.assertNotIn(samples.test_file()[3:30], file.read())

    def test_a_custom_scan_moves_the_test_file(self):
        statistics = self.scan()
        self.assert_taken(self.threat)
        self.assertTrue(os.path.exists(self.clean))
        self.assertEqual([statistics[name] for name in ("threatsFound", "backedUpObjects", "deletedObjects",
                                                        "notCuredObjects")], [1, 1, 1, 0])
        self.assertEqual(self.events("ObjectNotDisinfected"), [])

    def test_the_full_scan_does_too_and_an_archive_goes_whole(self):
        os.unlink(self.threat)
        archive = samples.write_zip(os.path.join(self.scope, "archive.zip"), {"inner.com": samples.test_file()})
        self.product.control("--set-settings", "2", ACTION)
        self.product.control("--start-task", "2", "--wait", check=False)
        self.assert_taken(archive)

    def test_a_file_of_two_names_is_gone_under_both_and_kept_once(self):
        other = os.path.join(self.scope, "z-other-name.com")
        os.link(self.threat, other)
        statistics = self.scan()
        self.assertEqual(os.listdir(self.scope), ["clean.txt"])
        self.assertEqual((statistics["threatsFound"], statistics["notCuredObjects"]), (2, 0))
        saved, = self.events("ObjectSavedToBackup")
        self.assertEqual({fields["ObjectId"] for fields in self.events("ObjectDeleted")}, {saved["ObjectId"]})
        self.assertEqual(len(self.objects()[1]), 1)

    def test_by_default_a_threat_is_told_and_stays(self):
        self.product.control("--start-task", "2", "--wait", check=False)
        self.assertTrue(os.path.exists(self.threat))
        self.assertEqual(self.events("ObjectSavedToBackup"), [])
        _, document = self.product.control_json("--get-statistics", "2")
        self.assertEqual(document["statistics"][0]["notCuredObjects"], 1)

    def test_what_does_not_fit_stays_and_is_told(self):
        self.product.control("--set-app-settings", "BackupSizeLimit=1")
        os.unlink(self.threat)
        large = samples.write_zip(os.path.join(self.scope, "archive.zip"),
                                  {"inner.com": samples.test_file(), "large": os.urandom(3 << 20)})
        statistics = self.scan()
        self.assertTrue(os.path.exists(large))
        self.assertEqual((statistics["backedUpObjects"], statistics["notCuredObjects"]), (0, 1))
        self.assertEqual(len(self.events("BackupSizeLimitReached")), 1)
        self.assertEqual(len(self.events("ObjectSaveToBackupFailed")), 1)
        reasons = [fields["ObjectNotDisinfectedReason"] for fields in self.events("ObjectNotDisinfected")]
        self.assertEqual(reasons, ["OutOfSpace"])

    def test_objects_outlive_a_killed_service(self):
        self.scan()
        _, before = self.objects()
        self.product.kill_service()
        self.product.start_service()
        self.assertEqual(self.objects()[1], before)
        samples.write(self.threat, samples.test_file())
        self.scan()  # it takes the place of the one from the same path
        _, after = self.objects()
        self.assertEqual(len(after), 1)
        self.assertNotEqual(after, before)


if __name__ == "__main__":
    unittest.main()
