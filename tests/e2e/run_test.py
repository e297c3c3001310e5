# SPDX-License-Identifier: GPL-2.0-or-later
"""./run.sh as a newcomer uses it, over a build that is there already."""

import os
import shutil
import signal
import time
import unittest
import uuid

from tesl_support.case import BUILD, ProductCase
from tesl_support.processes import Process
from tesl_support.waiting import wait_until

SCRIPT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../run.sh")
SCREENSHOT = os.path.join(BUILD, "screenshot.png")
# A picture with nothing painted has one or two.
COLOURS = 50
MARK = "TESL_RUN_TEST"


class Run(ProductCase):
    def setUp(self):
        super().setUp()
        self.mark = uuid.uuid4().hex
        if os.path.exists(SCREENSHOT):
            os.unlink(SCREENSHOT)

    def start(self, name, *arguments):
        """The script without a display; everything that it starts inherits the mark."""
        hidden = ("DISPLAY", "WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR")
        environment = {key: value for key, value in os.environ.items() if key not in hidden}
        environment.update({MARK: self.mark, "HOME": self.folder})
        run = Process(name, [SCRIPT, "--build", BUILD, *arguments], self.product.logs, environment)
        self.addCleanup(self.end_marked)
        self.addCleanup(run.kill)
        return run

    def marked(self):
        """Numbers and names of the processes that live and bear the mark."""
        found = {}
        for entry in filter(str.isdigit, os.listdir("/proc")):
            try:
                with open(f"/proc/{entry}/environ", "rb") as file:
                    variables = file.read().split(b"\0")
                with open(f"/proc/{entry}/comm", encoding="utf-8", errors="replace") as file:
                    name = file.read().strip()
            except OSError:
                continue
            if f"{MARK}={self.mark}".encode() in variables:
                found[int(entry)] = name
        return found

    def end_marked(self):
        for pid in self.marked():
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass

    def assert_nothing_is_left(self):
        wait_until(lambda: not self.marked(), 5, "everything that was started has ended")
        self.assertFalse(os.path.exists(self.product.socket))
        self.assertFalse(os.path.exists(self.product.pid_file))

    def assert_screenshot_shows_something(self):
        colours, size = self.ask("identify", "-format", "%k %wx%h", SCREENSHOT).split()
        self.assertGreater(int(colours), COLOURS)
        self.assertGreater(min(map(int, size.split("x"))), 100)

    def ask(self, *command):
        asked = Process("ask", command, self.product.logs)
        self.assertEqual(asked.wait(20), 0, asked.output())
        return asked.output()

    def bystander(self, name):
        """Somebody else's program that happens to bear the name."""
        program = os.path.join(self.folder, name)
        shutil.copy("/bin/sleep", program)
        process = Process("bystander-" + name, [program, "600"], self.product.logs)
        self.addCleanup(process.kill)
        return process

    def wait_open(self, run):
        wait_until(lambda: not run.is_alive() or "Press Ctrl-C to stop." in run.output(), 60, "the window is open")
        self.assertTrue(run.is_alive(), run.output())

    def test_once_leaves_a_picture_and_nothing_else(self):
        run = self.start("once", "--once")
        self.assertEqual(run.wait(60), 0, run.output())
        self.assert_screenshot_shows_something()
        self.assert_nothing_is_left()

    def test_ctrl_c_ends_what_was_started_and_a_second_run_opens_soon(self):
        bystanders = [self.bystander(name) for name in ("tesl-service", "tesl-gui", "tesl-scanner", "openbox", "Xvfb")]
        first = self.start("first")
        self.wait_open(first)
        self.assertLessEqual({"tesl-service", "tesl-gui", "Xvfb", "openbox", "trayer"}, set(self.marked().values()))
        self.assert_screenshot_shows_something()
        os.killpg(first.pid, signal.SIGINT)
        self.assertEqual(first.wait(30), 130, first.output())
        self.assert_nothing_is_left()

        begin = time.monotonic()
        second = self.start("second")
        self.wait_open(second)
        self.assertLess(time.monotonic() - begin, 20)
        second.signal(signal.SIGTERM)
        self.assertEqual(second.wait(30), 143, second.output())
        self.assert_nothing_is_left()
        for bystander in bystanders:
            self.assertTrue(bystander.is_alive(), bystander.name)


if __name__ == "__main__":
    unittest.main()
