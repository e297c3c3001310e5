# SPDX-License-Identifier: GPL-2.0-or-later
"""Whatever stands in the service's place: the no-connection page stays, and the window answers."""

import os
import socket
import threading
import unittest

from tesl_support.case import WindowCase
from tesl_support.waiting import hold_for, wait_until

# Longer than a few polls of the window, each with the deadline of a connection.
WATCHED = 6
# A poll may hold the window for a fifth of a second, never for the two seconds that a connection may take.
ANSWER = 1.0


class Stranger:
    """Something that listens on the service's socket and treats each visitor its own way."""

    def __init__(self, path, treat, listen=True):
        self.visitors = 0
        self._treat = treat
        self._kept = []
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.bind(path)
        if listen:
            self._socket.listen(16)
            threading.Thread(target=self._serve, daemon=True).start()

    def _serve(self):
        while True:
            try:
                visitor, _ = self._socket.accept()
            except OSError:
                return
            self.visitors += 1
            self._kept.append(visitor)
            try:
                self._treat(visitor)
            except OSError:
                pass

    def close(self):
        self._socket.close()
        for visitor in self._kept:
            visitor.close()


class Strangers(WindowCase):
    def assert_stays_unavailable(self, window):
        wait_until(window.is_unavailable, 20, "the no-connection page shows")
        slowest = 0.0

        def stays():
            nonlocal slowest
            slowest = max(slowest, window.answer_time())
            return window.process.is_alive() and window.is_unavailable()

        hold_for(stays, WATCHED, "the no-connection page shows")
        print(f"slowest answer {slowest:.2f} s")
        self.assertLess(slowest, ANSWER)

    def meet(self, treat, listen=True):
        stranger = Stranger(self.product.socket, treat, listen)
        self.addCleanup(stranger.close)
        window = self.open_window()
        window.wait_open()
        self.assert_stays_unavailable(window)
        if listen:
            self.assertGreater(stranger.visitors, 0)
        self.assertEqual(window.close(), 0)

    def test_no_socket(self):
        window = self.open_window()
        window.wait_open()
        self.assert_stays_unavailable(window)

    def test_a_socket_that_refuses(self):
        self.meet(lambda visitor: None, listen=False)

    def test_a_stranger_that_answers_garbage(self):
        self.meet(lambda visitor: visitor.sendall(os.urandom(1 << 16)))

    def test_a_stranger_that_promises_a_huge_message(self):
        self.meet(lambda visitor: visitor.sendall(b"\xfe\x01\x00\x00" + b"\xff\xff\xff\x7f" * 512))

    def test_a_stranger_that_hangs_up(self):
        self.meet(lambda visitor: visitor.close())

    def test_a_stranger_that_says_nothing(self):
        self.meet(lambda visitor: None)


if __name__ == "__main__":
    unittest.main()
