# SPDX-License-Identifier: GPL-2.0-or-later
"""Mouse and keyboard of the desktop: what is done with them goes through the X server and the window manager."""

import time

from .waiting import Lapsed, wait_until

# Pages come in within half a second, at first hardly moving.
REST = 0.5


class Hands:
    def __init__(self, desktop, window):
        self._desktop = desktop
        self._window = window

    def press_key(self, key):
        self._do("key", "--clearmodifiers", key)

    def click(self, node):
        """In the middle of the object."""
        x, y, width, height = node.box()
        self._do("mousemove", str(x + width // 2), str(y + height // 2), "click", "1")

    def click_on(self, name, seconds=20):
        """Waits for the object and clicks on it once."""
        self.click_at_rest(lambda: self._window.find(name), name, seconds)

    def click_at_rest(self, find, name, seconds=20):
        """The same for what find() finds, when it has kept its place for as long as a hand needs."""
        place, since = None, time.monotonic()

        def rests():
            nonlocal place, since
            node = find()
            now = node and node.box()
            if now != place:
                place, since = now, time.monotonic()
            return node if node and time.monotonic() - since > REST else None

        self.click(wait_until(rests, seconds, f"\"{name}\" shows and rests"))

    def focused(self):
        """Name and box of the button that has the keyboard's focus, or None."""
        for node in self._window.nodes():
            if node.role() in ("push button", "button") and node.is_focused() and node.is_showing():
                return node.name(), node.box()
        return None

    def tab_to(self, name, most=30):
        """Tab after Tab until the button of that name has the focus."""
        passed = []
        for _ in range(most):
            before = self._focus_at_rest()
            if before and before[0] == name:
                return
            passed.append(before and before[0])
            self.press_key("Tab")
            wait_until(lambda: self.focused() not in (None, before), 10, f"Tab leads on from {before}")
        raise Lapsed(f"Tab never comes to \"{name}\" but to {passed}")

    def _focus_at_rest(self):
        """What has the focus once no page is on its way: the page that goes keeps its focus until it is gone."""
        place, since = self.focused(), time.monotonic()

        def rests():
            nonlocal place, since
            now = self.focused()
            if now != place:
                place, since = now, time.monotonic()
            return time.monotonic() - since > REST

        wait_until(rests, 20, "the focus rests")
        return place

    def names_by_tab(self, most=30):
        """The names of all buttons that Tab comes by, once around."""
        stops = []
        for _ in range(most):
            before = self.focused()
            self.press_key("Tab")
            stop = wait_until(lambda: self.focused() not in (None, before) and self.focused(), 10, "Tab leads on")
            if stop in stops:
                return [name for name, _ in stops]
            stops.append(stop)
        raise Lapsed(f"Tab leads on and on: {stops}")

    def _do(self, *command):
        assert self._desktop.ask("xdotool", *command) is not None, f"xdotool {command} failed"
