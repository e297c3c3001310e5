# SPDX-License-Identifier: GPL-2.0-or-later
"""The program's popups, as a screen reader learns of them: they take the focus. The tree of the program lacks them."""

from .window import Atspi, GLib, Node, safely


class Popups:
    """Knows the popups that come while it lives. Use as a context."""

    def __init__(self, window):
        self._pid = window.process.pid
        self._nodes = []
        self._listener = Atspi.EventListener.new(self._on_focus)

    def __enter__(self):
        assert self._listener.register("object:state-changed:focused")
        return self

    def __exit__(self, *_):
        self._listener.deregister("object:state-changed:focused")

    def _on_focus(self, event):
        if safely(event.source.get_process_id, -1) != self._pid:
            return
        node = Node(event.source)
        if node.role() == "alert":
            self._nodes.append(node)

    def showing(self):
        """The popups that show now, oldest first."""
        context = GLib.MainContext.default()
        while context.iteration(False):
            pass
        return [node for node in self._nodes if node.is_showing()]
