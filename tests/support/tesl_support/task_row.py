# SPDX-License-Identifier: GPL-2.0-or-later
"""A row of the pages of tasks, as a screen reader sees it."""

from .waiting import wait_until

BUTTON = ("push button", "button")


class TaskRow:
    """The row of the task of that name; it may come and go."""

    def __init__(self, window, name):
        self._window = window
        self._name = name

    def nodes(self):
        """What shows in it, or nothing."""
        row = next((node for node in self._window.nodes()
                    if node.name() == self._name and node.role() == "list item" and node.is_showing()), None)
        return [node for node in row.walk() if node.is_showing()] if row else []

    def find(self, name, roles=None):
        """The first object of that name, or None."""
        return next((node for node in self.nodes() if node.name() == name and (roles is None or node.role() in roles)),
                    None)

    def button(self, name):
        return self.find(name, BUTTON)

    def text(self):
        """All that can be read in it, a line for each object."""
        return "\n".join(node.name() for node in self.nodes())

    def press(self, name, roles=BUTTON, seconds=20):
        """Waits for the object and presses it."""
        def find_and_press():
            node = self.find(name, roles)
            return node is not None and node.press()
        wait_until(find_and_press, seconds, f"\"{name}\" can be pressed in the row of \"{self._name}\"")

    def wait_text(self, text, seconds=30):
        wait_until(lambda: text in self.text(), seconds, f"the row of \"{self._name}\" shows \"{text}\"")
