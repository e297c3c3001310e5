# SPDX-License-Identifier: GPL-2.0-or-later
"""Application settings and policies: from tesl-control to the service's disk and back."""

import glob
import itertools
import json
import os
import threading
import time
import unittest

from tesl_support.case import ProductCase
from tesl_support.event_follower import EventFollower
from tesl_support.waiting import wait_until


def read_bytes(path):
    with open(path, "rb") as file:
        return file.read()


class Settings(ProductCase):
    def setUp(self):
        super().setUp()
        self.product.start_service()

    def get(self, *keys):
        code, document = self.product.control_json("--get-app-settings", *keys)
        self.assertEqual(code, 0, document)
        return document["settings"]

    def set(self, *arguments):
        """Exit code and what was said."""
        code, document = self.product.control_json("--set-app-settings", *arguments)
        return code, document.get("error", {}).get("text", "")

    def restart(self):
        self.assertEqual(self.product.stop_service(), 0)
        self.product.start_service()

    def test_a_change_outlives_the_service(self):
        self.assertEqual(self.get("UseTSN", "TraceLevel", "MaxEventsNumber"),
                         {"UseTSN": "Off", "TraceLevel": "None", "MaxEventsNumber": "500000"})
        self.assertEqual(self.set("MaxEventsNumber=2000", "UseTSN=Basic", "--accept-tsn")[0], 0)
        self.restart()
        self.assertEqual(self.get("UseTSN", "MaxEventsNumber"), {"UseTSN": "Basic", "MaxEventsNumber": "2000"})
        self.assertEqual(os.stat(self.product.service_configuration).st_mode & 0o777, 0o600)
        _, tasks = self.product.control_json("--get-task-list")
        self.assertTrue(tasks["tasks"])

    def test_what_was_saved_can_be_read_in_again(self):
        self.assertEqual(self.set("TraceMaxFileCount=7")[0], 0)
        saved = os.path.join(self.folder, "saved.ini")
        with open(saved, "wb") as file:
            file.write(self.product.control("--get-app-settings").stdout)
        self.assertEqual(self.set("TraceMaxFileCount=9")[0], 0)
        self.assertEqual(self.set("--file", saved)[0], 0)
        self.assertEqual(self.get("TraceMaxFileCount"), {"TraceMaxFileCount": "7"})

    def test_refusals_have_codes_and_name_the_cause(self):
        before = self.get()
        for arguments, code, named in ((["MaxEventsNumber=2000", "NoSuchKey=1"], 78, "NoSuchKey"),
                                       (["MaxEventsNumber=2000", "TraceLevel=Loud"], 78, "TraceLevel"),
                                       (["MaxEventsNumber=2000", "UseTSN=Basic"], 5, "tsn_license.en"),
                                       (["--file", "/nonexistent"], 78, "does not exist")):
            told = self.set(*arguments)
            self.assertEqual(told[0], code, told)
            self.assertIn(named, told[1])
        self.assertEqual(self.get(), before)

    def test_the_trace_follows_its_level(self):
        folder = os.path.join(self.product.stage, "var/log/tolvander/tesl")
        pattern = os.path.join(folder, f"tesl-service.{self.product.service.pid}.*")
        self.assertEqual(glob.glob(pattern), [])
        self.assertEqual(self.set("TraceLevel=Detailed")[0], 0)
        wait_until(lambda: self.product.control("--app-info") and glob.glob(pattern), 20, "there is a trace")
        self.assertEqual(self.set("TraceLevel=Loud")[0], 78)
        reason = b"Cannot update settings: Cannot parse value 'Loud' for setting 'TraceLevel'"
        wait_until(lambda: any(reason in read_bytes(path) for path in glob.glob(pattern)), 20, "the refusal is traced")
        self.assertEqual(self.set("TraceLevel=None")[0], 0)
        size = sum(os.path.getsize(path) for path in glob.glob(pattern))
        for _ in range(5):
            self.product.control("--app-info")
        self.assertEqual(sum(os.path.getsize(path) for path in glob.glob(pattern)), size)

    def test_another_client_hears_of_a_change_within_a_second(self):
        follower = EventFollower(self.product, "--event-type", "ApplicationSettingsChanged")
        self.addCleanup(follower.close)
        numbers = itertools.count(3)

        def change():
            """What is to be told, and the moment when the command was over."""
            number = next(numbers)
            self.assertEqual(self.set(f"TraceMaxFileCount={number}")[0], 0)
            return f"TraceMaxFileCount={number}", time.monotonic()

        def moments(change):
            return [moment for moment, text in follower.told("Settings") if text == change]

        wait_until(lambda: change() and follower.events, 30, "the follower has subscribed")
        for _ in range(5):
            changed, end = change()
            wait_until(lambda: moments(changed), 20, "the change is told")
            self.assertLess(moments(changed)[0] - end, 1)

    def test_a_policy_locks_while_it_is_there(self):
        self.assertEqual(self.set("TraceMaxFileCount=5")[0], 0)
        path = self.product.write_policy("office.ini", "TraceMaxFileCount=9\n[Policy]\nName=Office\n")
        wait_until(lambda: self.get("TraceMaxFileCount") == {"TraceMaxFileCount": "9"}, 20, "the policy is in force")
        code, told = self.set("TraceMaxFileCount=6")
        self.assertEqual(code, 4)
        self.assertIn("TraceMaxFileCount", told)
        self.restart()
        self.assertEqual(self.get("TraceMaxFileCount"), {"TraceMaxFileCount": "9"})
        os.unlink(path)
        wait_until(lambda: self.get("TraceMaxFileCount") == {"TraceMaxFileCount": "5"}, 20, "the policy is gone")
        self.assertEqual(self.set("TraceMaxFileCount=6")[0], 0)

    def test_a_policy_that_others_may_write_counts_for_nothing(self):
        path = self.product.write_policy("office.ini", "TraceMaxFileCount=9\n")
        wait_until(lambda: self.get("TraceMaxFileCount") == {"TraceMaxFileCount": "9"}, 20, "the policy is in force")
        os.chmod(path, 0o666)
        wait_until(lambda: self.get("TraceMaxFileCount") == {"TraceMaxFileCount": "2"}, 20, "it is not any more")

    def test_a_damaged_file_is_set_aside(self):
        self.assertEqual(self.set("TraceMaxFileCount=5")[0], 0)
        self.assertEqual(self.product.stop_service(), 0)
        with open(self.product.service_configuration, "r+b") as file:
            file.truncate(100)
            damaged = file.read()
        self.product.start_service()
        self.assertEqual(self.get("TraceMaxFileCount"), {"TraceMaxFileCount": "2"})
        with open(self.product.service_configuration + ".damaged", "rb") as file:
            self.assertEqual(file.read(), damaged)
        self.assertEqual(self.set("TraceMaxFileCount=6")[0], 0)
        self.restart()
        self.assertEqual(self.get("TraceMaxFileCount"), {"TraceMaxFileCount": "6"})

    def test_a_kill_leaves_whole_settings(self):
        for _ in range(5):
            last = []

            def change():
                for number in itertools.count(1):
                    if self.set(f"TraceMaxFileCount={1 + number % 1000}")[0] != 0:
                        return
                    last.append(number)

            changer = threading.Thread(target=change)
            changer.start()
            wait_until(lambda: len(last) >= 5, 30, "settings are being changed")
            self.product.kill_service()
            changer.join(60)
            with open(self.product.service_configuration, encoding="utf-8") as file:
                kept = int(json.load(file)["application"]["TraceMaxFileCount"])
            self.assertIn(kept, (1 + last[-1] % 1000, 1 + (last[-1] + 1) % 1000))
            self.product.start_service()
            self.assertEqual(self.get("TraceMaxFileCount"), {"TraceMaxFileCount": str(kept)})


if __name__ == "__main__":
    unittest.main()
