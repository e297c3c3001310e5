# SPDX-License-Identifier: GPL-2.0-or-later
"""Waiting for conditions. No test sleeps for a fixed time."""

import threading
import time

_never = threading.Event()


class Lapsed(AssertionError):
    """A condition did not come true in time."""


def wait_until(condition, seconds, what):
    """Returns the condition's first true value; raises Lapsed when the time is over."""
    deadline = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() >= deadline:
            raise Lapsed(f"after {seconds} s still not: {what}")
        _never.wait(0.03)


def hold_for(condition, seconds, what):
    """The condition stays true for so long."""
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        if not condition():
            raise AssertionError(f"no longer: {what}")
        _never.wait(0.05)
