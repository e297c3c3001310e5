# SPDX-License-Identifier: GPL-2.0-or-later
"""The product's window, as a screen reader sees it."""

import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402  the version comes first

from .processes import Process  # noqa: E402
from .waiting import wait_until  # noqa: E402

UNAVAILABLE = "The application is unavailable"


def _safely(function, fallback):
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
        return _safely(self._accessible.get_name, "") or ""

    def role(self):
        return _safely(self._accessible.get_role_name, "") or ""

    def has_state(self, state):
        states = _safely(self._accessible.get_state_set, None)
        return states is not None and states.contains(state)

    def is_showing(self):
        return self.has_state(Atspi.StateType.SHOWING) and self.has_state(Atspi.StateType.VISIBLE)

    def is_enabled(self):
        return self.has_state(Atspi.StateType.ENABLED)

    def value(self):
        return _safely(lambda: self._accessible.get_value_iface().get_current_value(), None)

    def parent(self):
        parent = _safely(self._accessible.get_parent, None)
        return Node(parent) if parent else None

    def children(self):
        count = _safely(self._accessible.get_child_count, 0)
        found = (_safely(lambda i=i: self._accessible.get_child_at_index(i), None) for i in range(count))
        return [Node(child) for child in found if child]

    def walk(self):
        yield self
        for child in self.children():
            yield from child.walk()

    def box(self):
        """x, y, width, height on the screen."""
        area = self._accessible.get_component_iface().get_extents(Atspi.CoordType.SCREEN)
        return area.x, area.y, area.width, area.height

    def press(self):
        """Performs the press action; false where there is none."""
        actions = self._accessible.get_action_iface()
        for i in range(_safely(actions.get_n_actions, 0)):
            if actions.get_action_name(i).lower() in ("press", "click"):
                return actions.do_action(i)
        return False


class Window:
    """tesl-gui on a desktop."""

    def __init__(self, product, desktop, name="gui", **environment):
        self._desktop = desktop
        self.process = Process(name, [product.gui_program], product.logs, {**desktop.environment, **environment})

    def application(self):
        """The program's root in the accessibility tree, or None."""
        screen = Atspi.get_desktop(0)
        screen.clear_cache()
        for i in range(_safely(screen.get_child_count, 0)):
            child = _safely(lambda i=i: screen.get_child_at_index(i), None)
            if child and _safely(child.get_process_id, -1) == self.process.pid:
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
        assert self.process.is_alive(), "the window's program ended: " + self.process.output()[-2000:]
        wait_until(self.nodes, seconds, "the window has content")

    def is_unavailable(self):
        return self.shows(UNAVAILABLE)

    def is_connected(self):
        return self.find("Scan", enabled=True) is not None and not self.is_unavailable()

    def wait_connected(self, seconds=20):
        wait_until(self.is_connected, seconds, "the main page shows")

    def press(self, name, seconds=20, **how):
        """Waits for the object and presses it."""
        node = wait_until(lambda: self.find(name, **how), seconds, f"\"{name}\" shows")
        assert node.press(), f"\"{name}\" can't be pressed"

    def answer_time(self):
        """Seconds that the program takes to answer a question about its tree."""
        begin = time.monotonic()
        root = self.application()
        assert root is not None, "the window doesn't answer"
        root.children()
        return time.monotonic() - begin

    def close(self):
        return self.process.stop()
