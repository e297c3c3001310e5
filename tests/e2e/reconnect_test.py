# SPDX-License-Identifier: GPL-2.0-or-later
"""The service goes and comes back, again and again; the window follows."""

import os
import signal
import statistics
import time
import unittest

from tesl_support import samples
from tesl_support.case import WindowCase
from tesl_support.waiting import hold_for, wait_until

ROUNDS = int(os.environ.get("TESL_RECONNECT_ROUNDS", "50"))
# The page is asked for: within two seconds. What is measured has the test's own looking in it.
PAGE_TIME = 2.0
LOOKING = 0.5


class Reconnect(WindowCase):
    def setUp(self):
        super().setUp()
        samples.write_large(self.scope, count=20, megabytes=8)

    def open_connected(self):
        self.product.start_service()
        window = self.open_window()
        window.wait_open()
        window.wait_connected()
        return window

    def time_until(self, condition, seconds, what):
        begin = time.monotonic()
        wait_until(condition, seconds, what)
        return time.monotonic() - begin

    def test_the_service_is_killed_and_started_again_and_again(self):
        window = self.open_connected()
        lost, found, threads, descriptors = [], [], [], []
        for number in range(ROUNDS):
            if number % 5 == 0:  # now and then in the middle of a scan
                self.product.control("--start-task", "Scan_My_Computer")
            self.product.kill_service()
            lost.append(self.time_until(window.is_unavailable, 15, f"the no-connection page shows, round {number}"))
            self.product.start_service()
            found.append(self.time_until(window.is_connected, 15, f"the main page shows, round {number}"))
            wait_until(lambda: window.process.threads() <= max(threads, default=99), 5, "no thread was gained")
            threads.append(window.process.threads())
            descriptors.append(window.process.descriptors())
        self.assertTrue(window.process.is_alive())
        print(f"page lost after {statistics.median(lost):.2f} s (at most {max(lost):.2f}), "
              f"found after {statistics.median(found):.2f} s (at most {max(found):.2f}), "
              f"threads {threads[0]} to {threads[-1]}, descriptors {descriptors[0]} to {descriptors[-1]}")
        self.assertLessEqual(max(lost), PAGE_TIME + LOOKING)
        self.assertLessEqual(max(found), PAGE_TIME + LOOKING)
        # The first rounds may still open what is opened once.
        settled = min(5, ROUNDS - 1)
        self.assertLessEqual(threads[-1], max(threads[:settled + 1]))
        self.assertLessEqual(descriptors[-1], max(descriptors[:settled + 1]))
        self.assertEqual(window.close(), 0)

    def test_a_stopped_service_does_not_stop_the_window(self):
        window = self.open_connected()
        box = window.find("Scan", enabled=True).box()
        self.product.service.signal(signal.SIGSTOP)
        try:
            slowest = 0.0

            def answers():
                nonlocal slowest
                slowest = max(slowest, window.answer_time())
                return window.process.is_alive()

            hold_for(answers, 8, "the window answers")
            self.assertLess(slowest, 5.5, "a call's deadline is five seconds")
            wait_until(window.is_unavailable, 15, "the no-connection page shows")
            self.assert_paints(box)
        finally:
            self.product.service.signal(signal.SIGCONT)
        window.wait_connected()
        self.assertEqual(window.close(), 0)

    def assert_paints(self, box):
        """Another window covers this one and goes; what was covered must be painted anew."""
        x, y, width, height = box
        place = f"{max(width, 40)}x{max(height, 40)}+{x}+{y}"
        before = self.picture(place)
        cover = self.cover(place)
        try:
            wait_until(lambda: self.picture(place) != before, 10, "the window is covered")
        finally:
            cover.kill()
        wait_until(lambda: self.picture(place) == before, 10, "what was covered is painted anew")

    def picture(self, place):
        return self.desktop.ask("import", "-silent", "-window", "root", "-crop", place, "-depth", "8", "txt:-")

    def cover(self, place):
        from tesl_support.processes import Process
        return Process("cover", ["xmessage", "-geometry", place, "cover"], self.product.logs, self.desktop.environment)

    def test_both_end_cleanly_when_asked(self):
        window = self.open_connected()
        self.assertEqual(window.close(), 0)
        self.assertFalse(os.path.exists(self.product.pid_file))
        self.assertEqual(self.product.stop_service(), 0)
        self.assertFalse(os.path.exists(self.product.socket))


if __name__ == "__main__":
    unittest.main()
