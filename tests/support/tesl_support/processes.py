# SPDX-License-Identifier: GPL-2.0-or-later
"""Processes that a test starts, and their end."""

import os
import signal
import subprocess

from .waiting import wait_until


class Process:
    """One program in a session of its own. Its output goes to a file of the log folder."""

    def __init__(self, name, command, logs, env=None, pass_fds=()):
        self.name = name
        self.log = os.path.join(logs, name + ".log")
        with open(self.log, "ab") as output:
            self._popen = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output,
                                           stderr=subprocess.STDOUT, env=env, pass_fds=pass_fds,
                                           start_new_session=True)
        self._session_ended = False

    @property
    def pid(self):
        return self._popen.pid

    def is_alive(self):
        if self._popen.poll() is None:
            return True
        self._end_session()
        return False

    def _end_session(self):
        """Kills what is left of it. Once the process has been waited for, only now: later its number may be that of
        somebody else's process."""
        if not self._session_ended:
            self._session_ended = True
            try:
                os.killpg(self.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass

    def signal(self, number):
        self._popen.send_signal(number)

    def wait(self, seconds=20):
        """The exit code; negative for a signal."""
        code = self._popen.wait(seconds)
        self._end_session()
        return code

    def kill(self):
        """Ends the process by force, and what is left of its session."""
        self._end_session()
        self._popen.wait()

    def stop(self, seconds=20):
        """Asks it to end and returns its exit code; a process that doesn't is killed, and the test fails."""
        if self.is_alive():
            self.signal(signal.SIGCONT)
            self.signal(signal.SIGTERM)
        try:
            return self.wait(seconds)
        except subprocess.TimeoutExpired:
            self.kill()
            raise AssertionError(f"{self.name} did not end within {seconds} s after SIGTERM") from None

    def threads(self):
        return len(os.listdir(f"/proc/{self.pid}/task"))

    def descriptors(self):
        return len(os.listdir(f"/proc/{self.pid}/fd"))

    def memory(self):
        """Bytes that lie in the machine's memory."""
        with open(f"/proc/{self.pid}/statm", encoding="ascii") as file:
            return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")

    def output(self):
        with open(self.log, encoding="utf-8", errors="replace") as file:
            return file.read()


def children_of(pid):
    """Direct children, from the process table."""
    found = []
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open(f"/proc/{entry}/stat", encoding="utf-8", errors="replace") as file:
                fields = file.read().rsplit(")", 1)[1].split()
        except OSError:
            continue
        if int(fields[1]) == pid:
            found.append(int(entry))
    return found


def is_running_program(pid):
    """False for what has ended, waited for or not."""
    try:
        return bool(os.readlink(f"/proc/{pid}/exe"))
    except OSError:
        return False


def start_and_read_line(start, seconds, what):
    """Calls start(writer), which starts a process that writes a line to the descriptor; returns both."""
    reader, writer = os.pipe()
    os.set_blocking(reader, False)
    try:
        process = start(writer)
    finally:
        os.close(writer)
    told = bytearray()

    def has_line():
        try:
            told.extend(os.read(reader, 4096))
        except BlockingIOError:
            pass
        return b"\n" in told

    try:
        wait_until(has_line, seconds, what)
    finally:
        os.close(reader)
    return process, told.split(b"\n")[0].decode()
