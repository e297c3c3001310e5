# SPDX-License-Identifier: GPL-2.0-or-later
"""The task commands of tesl-control against the real service: settings, schedules, statistics, updates, and the progress
that a terminal shows."""

import fcntl
import os
import pty
import re
import shutil
import struct
import termios
import unittest

from tesl_support import samples
from tesl_support.case import ProductCase
from tesl_support.source_folder import SourceFolder
from tesl_support.waiting import wait_until

COLUMNS = 40
CLEAR = b"\r\x1b[K"


class Terminal:
    """A program on a terminal of its own, COLUMNS wide."""

    def __init__(self, *command):
        self.pid, self.screen = pty.fork()
        if self.pid == 0:
            fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", 24, COLUMNS, 0, 0))
            os.environ["TERM"] = "xterm"
            os.execv(command[0], command)
        self.output = b""

    def read_until(self, pattern, seconds=60):
        """Reads on until the output has the pattern, or to its end where that is None."""
        def has_come():
            try:
                part = os.read(self.screen, 65536)
            except OSError:  # the program has gone
                part = b""
            self.output += part
            return not part or (pattern is not None and re.search(pattern, self.output))

        wait_until(has_come, seconds, f"the terminal shows {pattern}")
        return self.output

    def press_ctrl_c(self):
        os.write(self.screen, b"\x03")

    def end(self):
        """Exit code and the lines that are left on the screen."""
        self.read_until(None)
        _, status = os.waitpid(self.pid, 0)
        os.close(self.screen)
        lines = [line.split(CLEAR)[-1].rstrip(b"\r") for line in self.output.split(b"\n")]
        return os.waitstatus_to_exitcode(status), lines


class TaskCommands(ProductCase):
    def setUp(self):
        super().setUp()
        samples.write(os.path.join(self.scope, "clean.txt"), b"nothing here\n")
        self.product.start_service()

    def settings(self, command, task):
        return self.product.control_json(command, task)[1]["settings"]

    def test_settings_go_to_a_file_and_back(self):
        file = os.path.join(self.folder, "scan.ini")
        before = self.settings("--get-settings", "2")
        self.product.control("--get-settings", "2", "--file", file)
        self.product.control("--set-settings", "2", "ScanArchived=no", "ExcludeMasks.item_0000=*.iso")
        changed = self.settings("--get-settings", "Scan_My_Computer")
        self.assertEqual((changed["ScanArchived"], changed["ExcludeMasks.item_0000"]), ("no", "*.iso"))
        self.product.control("--set-settings", "2", "--file", file)
        self.assertEqual(self.settings("--get-settings", "2"), before)
        self.product.control("--set-settings", "2", "SizeLimit=1000")
        self.product.control("--set-settings", "2", "--set-to-default")
        self.assertEqual(self.settings("--get-settings", "2"), before)
        code, document = self.product.control_json("--set-settings", "2", "ScanArchived=no", "NoSuch=1")
        self.assertEqual((code, document["error"]["code"]), (78, "invalid-settings"))
        self.assertEqual(self.settings("--get-settings", "2"), before)

    def test_a_schedule_is_set_and_shown_in_the_list(self):
        self.product.control("--set-schedule", "2", "RuleType=Weekly", "DayOfWeek=Monday", "StartTime=03:15")
        _, document = self.product.control_json("--get-task-list")
        shown = {task["id"]: task["schedule"] for task in document["tasks"]}
        self.assertEqual(shown[2], "Weekly, Monday, 03:15")
        self.assertEqual(self.settings("--get-schedule", "2")["StartTime"], "03:15")
        self.assertEqual(self.product.control_json("--set-schedule", "2", "StartTime=99:00")[0], 78)
        self.assertEqual(self.settings("--get-schedule", "2")["StartTime"], "03:15")
        self.product.control("--set-schedule", "2", "--set-to-default")
        self.assertEqual(self.settings("--get-schedule", "2")["RuleType"], "Manual")

    def test_a_custom_scan_from_its_making_to_its_statistics(self):
        samples.write(os.path.join(self.scope, "test-file.com"), samples.test_file())
        _, document = self.product.control_json("--create-task", self.scope)
        task = str(document["created"]["id"])
        code, document = self.product.control_json("--start-task", task, "--wait")
        self.assertEqual((code, document["summary"]["threatsFound"]), (1, 1))
        self.assertEqual(self.product.control_json("--get-task-state", task)[0], 66)
        _, document = self.product.control_json("--get-statistics", task)
        self.assertEqual([run["threatsFound"] for run in document["statistics"]], [1])
        self.assertEqual(self.product.control_json("--delete-statistics", task)[0], 0)
        self.assertEqual(self.product.control_json("--get-statistics", task)[0], 66)
        _, document = self.product.control_json("--create-task", self.scope)
        self.assertEqual(self.product.control_json("--delete-task", document["created"]["name"])[0], 0)
        self.assertNotEqual(self.product.control_json("--delete-task", "2")[0], 0)

    def make_source(self, sample):
        """A folder with the signatures in use and one more, of the sample."""
        source = SourceFolder(self.product, os.path.join(self.folder, "source"))
        source.add_file(sample, "Sample.OfThisTest")
        return source.path

    def test_update_and_rollback_tell_their_results(self):
        sample = b"a sample that nobody else has\n" * 20
        path = samples.write(os.path.join(self.scope, "sample.bin"), sample)
        source = self.make_source(sample)
        self.assertEqual(self.product.control_json("--rollback")[0], 65)
        self.assertEqual(self.product.control_json("--scan-file", path)[0], 0)
        code, document = self.product.control_json("--update")
        self.assertEqual((code, document["update"]["result"]), (0, "updated"), document)
        self.assertEqual(document["update"]["sources"], [source])
        self.assertEqual(self.product.control_json("--scan-file", path)[0], 1)
        self.assertIn(b"There is nothing to update.\n", self.product.control("--update").stdout)
        code, document = self.product.control_json("--rollback")
        self.assertEqual((code, document["update"]["result"]), (0, "rolled-back"), document)
        self.assertEqual(self.product.control_json("--scan-file", path)[0], 0)

    def test_a_failed_update_has_a_code_and_a_reason(self):
        shutil.rmtree(self.make_source(b"sample"))
        code, document = self.product.control_json("--update")
        self.assertEqual((code, document["update"]["result"]), (6, "failed"))
        self.assertIn("source", document["update"]["reason"])
        done = self.product.control("--start-task", "Update", "--wait", check=False)
        self.assertEqual((done.returncode, done.stderr), (6, b""))

    def test_a_terminal_shows_progress_in_one_line(self):
        samples.write_large(self.scope, count=40, megabytes=16)
        samples.write(os.path.join(self.scope, "evil\x1b[2J\n.com"), samples.test_file())
        terminal = Terminal(self.product.control_program, "--scan-file", self.scope)
        code, lines = terminal.end()
        self.assertEqual(code, 1)
        shown = re.findall(re.escape(CLEAR) + rb"(Task [^\r\n]*)", terminal.output)
        self.assertTrue(shown, terminal.output)
        for line in shown:
            self.assertLess(len(line), COLUMNS)
        percents = [int(percent) for percent in re.findall(rb"(\d+)% done", terminal.output)]
        self.assertEqual(percents, sorted(percents))
        self.assertNotIn(b"% done", b"\n".join(lines))
        self.assertTrue(lines[0].startswith(b"Threat detected: "), lines)
        self.assertNotIn(b"\x1b", terminal.output.replace(CLEAR, b""))

    def test_ctrl_c_on_a_terminal_stops_the_scan_and_tells_so(self):
        samples.write_large(self.scope, count=60, megabytes=16)
        terminal = Terminal(self.product.control_program, "--scan-file", self.scope)
        terminal.read_until(rb"% done")
        terminal.press_ctrl_c()
        code, lines = terminal.end()
        self.assertEqual(code, 3)
        self.assertIn(b"The scan was stopped.", lines)


if __name__ == "__main__":
    unittest.main()
