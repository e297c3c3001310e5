# SPDX-License-Identifier: GPL-2.0-or-later
"""An update from a folder and its rollback, on the pages and by the command line; sets that are refused."""

import contextlib
import os
import unittest

from tesl_support import samples
from tesl_support.case import ProductCase, WindowCase
from tesl_support.source_folder import SourceFolder
from tesl_support.task_row import TaskRow
from tesl_support.waiting import wait_until

WHOLE = b"a file that is a threat as a whole\n" * 20
PATTERN = b"bytes that make every file with them a threat"
SAMPLES = {"whole.bin", "part.bin"}
ROLLBACK = "Rollback update"
LINK = ("link",)


class Signatures:
    """What both cases do with the product."""

    def prepare(self):
        samples.write(os.path.join(self.scope, "clean.txt"), b"nothing here\n")
        samples.write(os.path.join(self.scope, "whole.bin"), WHOLE)
        samples.write(os.path.join(self.scope, "part.bin"), b"before " + PATTERN + b" after\n")
        self.product.start_service()
        self.source = SourceFolder(self.product, os.path.join(self.folder, "source"))
        self.source.add_file(WHOLE, "Test.Whole.File")
        self.source.add_pattern(PATTERN, "Test.Bytes.Within")

    def detected(self):
        """The names of the files that a custom scan finds to be threats."""
        code, document = self.product.control_json("--scan-file", self.scope)
        found = {os.path.basename(threat["path"]) for threat in document["threats"]}
        self.assertEqual(code, 1 if found else 0, document)
        return found

    def update(self):
        """Exit code and result by the command line."""
        code, document = self.product.control_json("--update")
        return code, document["update"]["result"]

    def app_info(self):
        return self.product.control_json("--app-info")[1]["appInfo"]

    def records(self):
        return self.app_info()["basesRecords"]

    def events(self, event_type):
        """The fields of every event of that type, oldest first."""
        _, document = self.product.control_json("--event-query", "--event-type", event_type, "--order", "asc")
        return [{field["name"]: field["value"] for field in event["fields"]} for event in document["events"]]

    def count(self, event_type):
        return len(self.events(event_type))


class OnThePages(Signatures, WindowCase):
    def setUp(self):
        super().setUp()
        self.prepare()
        self.window = self.open_window()
        self.window.wait_open()
        self.window.wait_connected()

    def ends(self, task):
        """How often the task of that name has ended."""
        return sum(1 for event in self.events("TaskStateChanged")
                   if event["TaskName"] == task and event["TaskState"] == "Stopped")

    def see_end(self, task, act):
        """Does something that runs the task, and waits for its end."""
        before = self.ends(task)
        act()
        wait_until(lambda: self.ends(task) > before, 60, f"{task} has ended")

    def scan_on_its_page(self, threats):
        """The full scan by its button; its row tells what was found."""
        self.window.press("Scan")
        row = TaskRow(self.window, "Scan my computer")
        self.see_end("Scan_My_Computer", lambda: row.press("Start"))
        row.wait_text("Threat detected" if threats else "Nothing detected")
        row.press("Scan my computer")  # opens it
        row.wait_text("objects scanned: 3")
        row.wait_text(f"threats detected: {threats}")
        self.desktop.save_screenshot(f"scan-{threats}")
        self.window.press("Back")
        self.window.wait_connected()

    def scan_by_command_line(self):
        """What a custom scan finds. It brings its page to the front, which is left again."""
        found = self.detected()
        wait_until(lambda: self.window.shows("Scan my computer"), 20, "the page of scans shows")
        self.window.press("Back")
        self.window.wait_connected()
        return found

    @contextlib.contextmanager
    def updates(self, can_go_back):
        """The row of the update on its page, which reads whether there is a set to go back to when it is opened."""
        self.window.press("Update")
        row = TaskRow(self.window, "Update")
        wait_until(lambda: row.button("Start"), 20, "the row of the update shows")
        row.press("Update")  # opens it
        wait_until(lambda: row.find(ROLLBACK), 20, "the rollback shows")
        self.assertEqual(row.find(ROLLBACK, LINK) is not None, can_go_back)
        yield row
        self.window.press("Back")
        self.window.wait_connected()

    def test_a_sample_becomes_a_threat_and_none_again(self):
        records = self.records()
        self.scan_on_its_page(threats=0)
        self.assertEqual(self.scan_by_command_line(), set())

        with self.updates(can_go_back=False) as row:
            row.wait_text("Never run")
            self.see_end("Update", lambda: row.press("Start"))
            row.wait_text("Last update: ")
        self.assertEqual(self.records(), records + len(SAMPLES))
        self.assertIsNotNone(self.app_info()["lastUpdate"])
        self.scan_on_its_page(threats=2)
        self.assertEqual(self.scan_by_command_line(), SAMPLES)

        with self.updates(can_go_back=True) as row:
            self.desktop.save_screenshot("updated")
            self.see_end("Rollback", lambda: row.press(ROLLBACK, LINK))
        self.assertEqual((self.records(), self.count("AVBasesRollbackCompleted")), (records, 1))
        self.scan_on_its_page(threats=0)
        self.assertEqual(self.scan_by_command_line(), set())
        with self.updates(can_go_back=False):
            pass
        self.assertEqual(self.window.close(), 0)

    def test_what_the_command_line_does_shows_on_the_page(self):
        with self.updates(can_go_back=False) as row:
            row.wait_text("Never run")
            self.assertEqual(self.update(), (0, "updated"))
            row.wait_text("Last update: ")
        with self.updates(can_go_back=True):
            self.assertEqual(self.product.control_json("--rollback")[0], 0)
        with self.updates(can_go_back=False):
            pass
        self.assertEqual(self.window.close(), 0)

    def test_a_refused_set_leaves_the_page_ready(self):
        self.assertEqual(self.update(), (0, "updated"))
        self.source.write("damaged.ndb", "no signature")
        with self.updates(can_go_back=True) as row:
            self.see_end("Update", lambda: row.press("Start"))
            self.assertEqual(self.count("UpdateError"), 1)
            wait_until(lambda: row.button("Start"), 20, "the update can be started again")
        self.scan_on_its_page(threats=2)
        self.assertEqual(self.window.close(), 0)


class Refused(Signatures, ProductCase):
    def setUp(self):
        super().setUp()
        self.prepare()

    def set_in_use(self):
        return os.path.realpath(os.path.join(self.product.bases_folder, "current"))

    def assert_refused(self):
        """The update fails, and says why, and everything stays as it was: now and after a restart."""
        in_use, records, errors = self.set_in_use(), self.records(), self.count("UpdateError")
        self.assertEqual(self.update(), (6, "failed"))
        reasons = [event["Reason"] for event in self.events("UpdateError")]
        self.assertEqual(len(reasons), errors + 1)
        self.assertTrue(reasons[-1])
        self.assertEqual(self.detected(), SAMPLES)
        self.product.stop_service()
        self.product.start_service()
        self.assertEqual((self.set_in_use(), self.records(), self.detected()), (in_use, records, SAMPLES))

    def test_a_damaged_set_is_refused_and_the_one_in_use_stays(self):
        self.assertEqual(self.update(), (0, "updated"))
        damaged = {"no signature at all": b"no signature\n", "cut in the middle": b"Test.Cut:0:*:61",
                   "empty": b"", "rubbish": bytes(range(256)) * 64}
        for what, content in damaged.items():
            with self.subTest(what):
                samples.write(os.path.join(self.source.path, "damaged.ndb"), content)
                self.assert_refused()
        os.unlink(os.path.join(self.source.path, "damaged.ndb"))
        self.assertEqual(self.update(), (0, "nothing-to-update"))
        self.assertEqual([event["TaskName"] for event in self.events("AVBasesAttached")], ["Update"],
                         "one update has brought a new set")
        self.assertEqual({event["FileName"] for event in self.events("FileUpdateFinished")},
                         {"extra.hdb", "extra.ndb"})

    def test_a_rollback_to_a_damaged_set_is_refused(self):
        self.assertEqual(self.update(), (0, "updated"))
        before = os.path.realpath(os.path.join(self.product.bases_folder, "previous"))
        for name in os.listdir(before):
            samples.write(os.path.join(before, name), b"no signature\n")
        in_use, records = self.set_in_use(), self.records()
        code, document = self.product.control_json("--rollback")
        self.assertEqual((code, document["update"]["result"]), (6, "failed"))
        self.assertEqual([self.count(event) for event in ("AVBasesIntegrityCheckFailed", "AVBasesRollbackError",
                                                          "AVBasesRollbackCompleted")], [1, 1, 0])
        self.assertEqual((self.set_in_use(), self.records(), self.detected()), (in_use, records, SAMPLES))


if __name__ == "__main__":
    unittest.main()
