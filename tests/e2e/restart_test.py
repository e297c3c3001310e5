# SPDX-License-Identifier: GPL-2.0-or-later
"""An update touches the installed program while its window is open."""

import errno
import os
import shutil
import time
import unittest

from tesl_support.case import WindowCase
from tesl_support.processes import Process
from tesl_support.waiting import hold_for, wait_until

# The program looks every five seconds and needs a moment to end.
RESTART_TIME = 10.0
# Two looks and a little.
WATCHED = 11
NOBODY = 65534
# The toolkit takes the first two out of its own list of arguments.
ARGUMENTS = ["-name", "window", "--unknown=x", "two words", ""]


class Restart(WindowCase):
    def setUp(self):
        super().setUp()
        self.program = self.product.gui_program
        kept = self.program + ".kept"
        shutil.copy2(self.program, kept)
        self.addCleanup(os.replace, kept, self.program)

    def open(self, program=None):
        window = self.open_window(arguments=ARGUMENTS, program=program)
        window.wait_open()
        wait_until(lambda: self.product.pid_in_file() == window.process.pid, 20, "the program has its pid file")
        return window

    def instances(self):
        """Processes that run the program or what stood in its place before."""
        found = []
        for entry in filter(str.isdigit, os.listdir("/proc")):
            try:
                path = os.readlink(f"/proc/{entry}/exe")
            except OSError:
                continue
            if path.removesuffix(" (deleted)").startswith(self.program):
                found.append(int(entry))
        return found

    def replace(self):
        """As a package manager does: another file takes the name at once. Returns the new file's identity."""
        fresh = self.program + ".new"
        shutil.copy2(self.program, fresh)
        identity = identity_of(fresh)
        os.replace(fresh, self.program)
        return identity

    def see_restart(self, window, identity):
        """How long it takes until the new program runs in the old one's process, the only one at every look."""
        pid = window.process.pid
        begin = time.monotonic()

        def runs_anew():
            self.assertTrue(window.process.is_alive(), window.process.output())
            self.assertEqual(self.instances(), [pid])
            self.assertIn(self.product.pid_in_file(), (0, pid))
            return identity_of(f"/proc/{pid}/exe") == identity

        wait_until(runs_anew, 3 * RESTART_TIME, "the new program runs")
        seconds = time.monotonic() - begin
        with open(f"/proc/{pid}/cmdline", encoding="utf-8") as file:
            self.assertEqual(file.read().split("\0")[1:-1], ARGUMENTS)
        wait_until(lambda: self.product.pid_in_file() == pid, 20, "the new program has its pid file")
        return seconds

    def descriptors_at_rest(self, window):
        """A window that has just come up still opens this and that."""
        count, since = window.process.descriptors(), time.monotonic()

        def rests():
            nonlocal count, since
            now = window.process.descriptors()
            if now != count:
                count, since = now, time.monotonic()
            return time.monotonic() - since > 2

        wait_until(rests, 30, "the window comes to rest")
        return count

    def test_a_replaced_program_is_run_in_its_place(self):
        self.product.start_service()
        window = self.open()
        window.wait_connected()
        before = self.descriptors_at_rest(window)
        for _ in range(2):
            seconds = self.see_restart(window, self.replace())
            print(f"restarted after {seconds:.1f} s")
            self.assertLess(seconds, RESTART_TIME)
            window.wait_open()
            window.wait_connected()
            wait_until(lambda: window.process.descriptors() <= before, 20, "no descriptor is inherited")
        self.assertEqual(window.close(), 0)
        self.assertFalse(os.path.exists(self.product.pid_file))

    def test_the_same_file_or_none_ends_nothing(self):
        window = self.open()
        started = identity_of(self.program)

        def goes_on():
            return window.process.is_alive() and identity_of(f"/proc/{window.process.pid}/exe") == started

        self.change_in_place()
        self.assertEqual(identity_of(self.program), started)
        hold_for(goes_on, WATCHED, "the program goes on over a file that was changed in place")
        os.rename(self.program, self.program + ".away")
        hold_for(goes_on, WATCHED, "the program goes on without its file")
        # A watch that had given up would miss the new one.
        os.rename(self.program + ".away", self.program)
        self.see_restart(window, self.replace())
        self.assertEqual(window.close(), 0)

    def change_in_place(self):
        """Other times and another mode; other bytes too, where the system lets a running program be written."""
        os.chmod(self.program, 0o555)
        os.utime(self.program, (0, 0))
        try:
            with open(self.program, "r+b") as file:
                first = file.read(1)
                file.seek(0)
                file.write(first)
        except OSError as error:
            self.assertIn(error.errno, (errno.ETXTBSY, errno.EACCES))

    def assert_ends_for_good(self, process):
        begin = time.monotonic()
        self.assertEqual(process.wait(3 * int(RESTART_TIME)), 0, process.output())
        self.assertLess(time.monotonic() - begin, RESTART_TIME)
        self.assertEqual(self.instances(), [])

    def test_a_program_that_may_not_be_run_any_more_ends(self):
        window = self.open()
        os.chmod(self.program, 0o644)  # for nobody, so that root is refused too
        self.assert_ends_for_good(window.process)
        self.assertFalse(os.path.exists(self.product.pid_file))

    def test_a_program_that_its_user_can_not_reach_any_more_ends(self):
        """Its folder is closed to a user without privileges: to another one where the test has them."""
        command, uid = [self.program], os.getuid()
        if uid == 0:
            uid = NOBODY
            command = ["setpriv", f"--reuid={uid}", f"--regid={uid}", "--clear-groups", *command]
        pid_file = os.path.join(self.product.stage, f"tmp/.tesl-gui-{uid}.pid")
        os.chmod(os.path.dirname(pid_file), 0o1777)
        process = Process("gui", command, self.product.logs, {**os.environ, "QT_QPA_PLATFORM": "offscreen"})
        self.addCleanup(process.kill)
        wait_until(lambda: self.instances() == [process.pid] and os.path.exists(pid_file), 20, "the program runs")
        folder = os.path.dirname(self.program)
        self.addCleanup(os.chmod, folder, os.stat(folder).st_mode)
        os.chmod(folder, 0o700 if os.getuid() == 0 else 0)
        self.assert_ends_for_good(process)
        self.assertFalse(os.path.exists(pid_file))

    def test_a_program_from_another_place_does_not_watch(self):
        """It would find another file at the installed path with its first look."""
        copy = os.path.join(self.folder, "tesl-gui")
        shutil.copy2(self.program, copy)
        window = self.open(copy)
        os.chmod(self.program, 0o644)
        hold_for(lambda: window.process.is_alive() and os.readlink(f"/proc/{window.process.pid}/exe") == copy, WATCHED,
                 "the copy goes on")
        self.assertEqual(window.close(), 0)


def identity_of(path):
    status = os.stat(path)
    return status.st_dev, status.st_ino


if __name__ == "__main__":
    unittest.main()
