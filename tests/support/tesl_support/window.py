# SPDX-License-Identifier: GPL-2.0-or-later
"""The product's window, as a screen reader sees it."""

import contextlib
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402  the version comes first

from .processes import Process  # noqa: E402
from .waiting import wait_until  # noqa: E402

UNAVAILABLE = "The application is unavailable"


@contextlib.contextmanager
def patience(seconds=15):
    """Within, a slow answer is waited for, and so measured; else one that takes 0.8 s counts as none."""
    Atspi.set_timeout(seconds * 1000, 0)
    try:
        yield
    finally:
        Atspi.set_timeout(800, 15000)  # the library's own


def safely(function, fallback):
    """Objects die between two calls; that is an answer too."""
    try:
        return function()
    except GLib.Error:
        return fallback


class Node:
    """One accessible object."""

    def __init__(self, accessible):
        self._accessible = accessible

    def name(self):
        return safely(self._accessible.get_name, "") or ""

    def role(self):
        return safely(self._accessible.get_role_name, "") or ""

    def has_state(self, state):
        states = safely(self._accessible.get_state_set, None)
        return states is not None and states.contains(state)

    def is_showing(self):
        return self.has_state(Atspi.StateType.SHOWING) and self.has_state(Atspi.StateType.VISIBLE)

    def is_enabled(self):
        return self.has_state(Atspi.StateType.ENABLED)

    def is_focused(self):
        return self.has_state(Atspi.StateType.FOCUSED)

    def percent(self):
        """What a progress bar tells: its description is the number and "%". None where it tells nothing."""
        text = safely(self._accessible.get_description, "") or ""
        return int(text[:-1]) if text.endswith("%") and text[:-1].isdigit() else None

    def parent(self):
        parent = safely(self._accessible.get_parent, None)
        return Node(parent) if parent else None

    def children(self):
        count = safely(self._accessible.get_child_count, 0)
        found = (safely(lambda i=i: self._accessible.get_child_at_index(i), None) for i in range(count))
        return [Node(child) for child in found if child]

    def walk(self):
        yield self
        for child in self.children():
            yield from child.walk()

    def box(self):
        """x, y, width, height on the screen."""
        area = self._accessible.get_extents(Atspi.CoordType.SCREEN)
        return area.x, area.y, area.width, area.height

    def press(self):
        """Performs the press action; false where there is none, or the object has gone."""
        def press_action():
            for i in range(self._accessible.get_n_actions()):
                if self._accessible.get_action_name(i).lower() in ("press", "click"):
                    return self._accessible.do_action(i)
            return False
        return safely(press_action, False)


class Window:
    """tesl-gui on a desktop."""

    def __init__(self, product, desktop, name="gui", arguments=(), program=None, **environment):
        """`program` where it isn't the installed one."""
        self._desktop = desktop
        self.process = Process(name, [program or product.gui_program, *arguments], product.logs,
                               {**desktop.environment, **environment})

    def application(self):
        """The program's root in the accessibility tree, or None."""
        screen = Atspi.get_desktop(0)
        screen.clear_cache()
        for i in range(safely(screen.get_child_count, 0)):
            child = safely(lambda i=i: screen.get_child_at_index(i), None)
            if child and safely(child.get_process_id, -1) == self.process.pid:
                child.set_cache_mask(Atspi.Cache.NONE)
                return Node(child)
        return None

    def nodes(self):
        root = self.application()
        return list(root.walk()) if root else []

    def find(self, name, roles=None, enabled=None):
        """The first showing object of that name, or None."""
        for node in self.nodes():
            if node.name() == name and node.is_showing() and (roles is None or node.role() in roles) \
                    and (enabled is None or node.is_enabled() == enabled):
                return node
        return None

    def shows(self, text):
        """Some showing object's name holds the text."""
        return any(text in node.name() and node.is_showing() for node in self.nodes())

    def wait_open(self, seconds=30):
        wait_until(lambda: self.application() or not self.process.is_alive(), seconds, "the window opens")
        assert self.process.is_alive(), \
            f"the window's program ended with {self.process.wait()}: " + self.process.output()[-2000:]
        wait_until(self.nodes, seconds, "the window has content")

    def is_unavailable(self):
        return self.shows(UNAVAILABLE)

    def is_connected(self):
        return self.find("Scan", enabled=True) is not None and not self.is_unavailable()

    def wait_connected(self, seconds=20):
        wait_until(self.is_connected, seconds, "the main page shows")

    def press(self, name, seconds=20, **how):
        """Waits for the object and presses it; one of a page that is on its way out may go under the hand."""
        def find_and_press():
            node = self.find(name, **how)
            return node is not None and node.press()
        wait_until(find_and_press, seconds, f"\"{name}\" shows and can be pressed")

    def answer_time(self):
        """Seconds that the program takes to answer a question about its tree."""
        with patience():
            begin = time.monotonic()
            root = self.application()
            assert root is not None and root.children(), "the window doesn't answer"
            return time.monotonic() - begin

    def close(self):
        return self.process.stop()
