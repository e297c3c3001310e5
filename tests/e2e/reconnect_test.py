# SPDX-License-Identifier: GPL-2.0-or-later
"""The service goes and comes back, again and again; the window follows."""

import os
import signal
import statistics
import time
import unittest

from tesl_support import samples
from tesl_support.case import WindowCase
from tesl_support.processes import Process
from tesl_support.waiting import hold_for, wait_until
from tesl_support.window import patience

ROUNDS = int(os.environ.get("TESL_RECONNECT_ROUNDS", "50"))
FILES = 20
FULL_SCAN = "Scan_My_Computer"
# From the kill to the no-connection page, and from the socket's return to the main page, with all the test's looking.
PAGE_TIME = 2.0
# Of a call of the window to the service.
DEADLINE = 5
# What nobody notices, and a busy machine keeps to.
AT_ONCE = 1.0
BUTTON = ("push button", "button")


class Reconnect(WindowCase):
    def open_connected(self):
        # One worker, so that a scan lasts.
        self.product.configure_service(scanScope=[self.scope], scannerWorkers=1)
        self.product.start_service()
        window = self.open_window()
        window.wait_open()
        window.wait_connected()
        return window

    def time_until(self, condition, seconds, what, begin=None):
        begin = begin or time.monotonic()
        wait_until(condition, seconds, what)
        return time.monotonic() - begin

    def scanned(self):
        """How many objects the full scan is through with, None while it doesn't run."""
        code, document = self.product.control_json("--get-task-state", FULL_SCAN)
        self.assertEqual(code, 0, document)
        return document["lastRun"]["scannedObjects"] if document["task"]["state"] == "Started" else None

    def start_scan(self):
        """Until it runs and its counters move; ends with much of it still to do."""
        self.product.control("--start-task", FULL_SCAN)
        scanned = wait_until(self.scanned, 20, "the scan is on its way")
        self.assertLess(scanned, FILES - 4, "the scan was nearly over")

    def restart(self, window, number):
        """Kills the service, starts it again; returns how long the window took to notice each."""
        begin = time.monotonic()
        self.product.kill_service()
        lost = self.time_until(window.is_unavailable, 15, f"the no-connection page shows, round {number}", begin)
        self.product.spawn_service()
        wait_until(self.product.listens, 20, "the service listens again")
        found = self.time_until(window.is_connected, 15, f"the main page shows, round {number}")
        wait_until(self.product.answers, 60, "the signatures are loaded")
        return lost, found

    def at_rest(self, window):
        """Threads and descriptors of the window, when they have been the same for a second."""
        last, since = None, time.monotonic()

        def rests():
            nonlocal last, since
            now = window.process.threads(), window.process.descriptors()
            if now != last:
                last, since = now, time.monotonic()
            return time.monotonic() - since > 1

        wait_until(rests, 20, "threads and descriptors stay the same")
        return last

    def test_the_service_is_killed_in_mid_scan_again_and_again(self):
        samples.write_large(self.scope, count=FILES, megabytes=16)
        window = self.open_connected()
        # The first round may still open what is opened once.
        self.restart(window, "first")
        threads, descriptors = self.at_rest(window)
        rounds = []
        for number in range(ROUNDS):
            self.start_scan()
            rounds.append(self.restart(window, number))
            self.assertTrue(window.process.is_alive())
        lost, found = zip(*rounds)
        print(f"page lost after {statistics.median(lost):.2f} s (at most {max(lost):.2f}), "
              f"found after {statistics.median(found):.2f} s (at most {max(found):.2f})")
        self.assertLess(max(lost), PAGE_TIME)
        self.assertLess(max(found), PAGE_TIME)
        threads_now, descriptors_now = self.at_rest(window)
        self.assertLessEqual(threads_now, threads)
        self.assertLessEqual(descriptors_now, descriptors)
        self.assertEqual(window.close(), 0)

    def test_a_page_is_opened_while_the_service_is_stopped(self):
        window = self.open_connected()
        self.press_while_stopped(window, "Scan")
        window.wait_connected()
        self.assertEqual(window.close(), 0)

    def test_a_scan_is_started_while_the_service_is_stopped(self):
        window = self.open_connected()
        window.press("Scan", enabled=True)
        wait_until(lambda: window.find("Start", roles=BUTTON, enabled=True), 20, "the page of tasks shows")
        self.press_while_stopped(window, "Start")
        window.wait_connected()
        self.assertEqual(window.close(), 0)

    def press_while_stopped(self, window, name):
        """The press may cost a call's deadline; before it, and once the connection is given up, nothing waits."""
        place = window.find("Close").box()
        title = self.picture(place)
        button = window.find(name, roles=BUTTON, enabled=True)
        times = []

        def is_lost():
            times.append(window.answer_time())
            times.append(self.repaint_time(title, place))
            return window.is_unavailable()

        self.product.service.signal(signal.SIGSTOP)
        try:
            self.assertFalse(is_lost())
            before = max(times)
            begin = time.monotonic()
            with patience():
                self.assertTrue(button.press())
            times = [window.answer_time(), self.repaint_time(title, place)]
            pressed = time.monotonic() - begin
            wait_until(is_lost, 2 * DEADLINE, "the no-connection page shows")
            hidden, times = max(times), []
            hold_for(is_lost, 3, "the no-connection page shows")
        finally:
            self.product.service.signal(signal.SIGCONT)
        self.assertTrue(window.process.is_alive())
        print(f"answers and paints within {before:.2f} s before the press, {pressed:.2f} s after it, "
              f"{hidden:.2f} s until the page shows and {max(times):.2f} s then")
        self.assertLess(before, AT_ONCE)
        self.assertLess(pressed, DEADLINE)
        self.assertLess(hidden, DEADLINE)
        self.assertLess(max(times), AT_ONCE)

    def repaint_time(self, picture, place):
        """Another window covers this one and goes; returns how long it takes until what was covered is there again."""
        cover = self.cover(place)
        try:
            wait_until(lambda: self.picture(place) != picture, 10, "the window is covered")
        finally:
            cover.kill()
        return self.time_until(lambda: self.picture(place) == picture, 10, "what was covered is painted anew")

    def picture(self, place):
        x, y, width, height = place
        area = f"{width}x{height}+{x}+{y}"
        return self.desktop.ask("import", "-silent", "-window", "root", "-crop", area, "-depth", "8", "txt:-")

    def cover(self, place):
        x, y, width, height = place
        area = f"{width + 40}x{height + 40}+{x - 20}+{y - 20}"
        return Process("cover", ["xmessage", "-geometry", area, "cover"], self.product.logs, self.desktop.environment)

    def test_both_end_cleanly_when_asked(self):
        window = self.open_connected()
        self.assertEqual(window.close(), 0)
        self.assertFalse(os.path.exists(self.product.pid_file))
        self.assertEqual(self.product.stop_service(), 0)
        self.assertFalse(os.path.exists(self.product.socket))


if __name__ == "__main__":
    unittest.main()
