# SPDX-License-Identifier: GPL-2.0-or-later
"""A Wayland desktop without a screen: a compositor, session bus, accessibility bus, and a pointer to move."""

import json
import os
import pwd
import shutil
import socket
import struct
import tempfile
import time

from .desktop import Desktop
from .waiting import wait_until

WIDTH, HEIGHT = 1280, 800
LEFT_BUTTON = 0x110
CONFIGURATION = f"""xwayland disable
output HEADLESS-1 resolution {WIDTH}x{HEIGHT}
default_border none
"""


class WaylandDesktop(Desktop):
    """Shows windows of fixed size where it likes, and moves them when they ask for it."""

    def _start_display(self, env):
        # The compositor refuses to run as root, and its folder must be its own.
        self._folder = tempfile.mkdtemp(prefix="tesl-wayland-")
        configuration = os.path.join(self._folder, "config")
        with open(configuration, "w", encoding="ascii") as file:
            file.write(CONFIGURATION)
        command = ["sway", "--config", configuration]
        if os.geteuid() == 0:
            account = pwd.getpwnam("nobody")
            for path in (self._folder, configuration):
                os.chown(path, account.pw_uid, account.pw_gid)
            command = ["setpriv", f"--reuid={account.pw_uid}", f"--regid={account.pw_gid}", "--clear-groups", *command]
        self._add("sway", command, {**env, "HOME": self._folder, "XDG_RUNTIME_DIR": self._folder,
                                    "WLR_BACKENDS": "headless", "WLR_LIBINPUT_NO_DEVICES": "1",
                                    "WLR_RENDERER": "pixman"})
        names = wait_until(self._sockets, 20, "a Wayland display")
        env["WAYLAND_DISPLAY"], env["SWAYSOCK"] = names
        self.pointer = Pointer(env["WAYLAND_DISPLAY"])

    def _sockets(self):
        found = {name.split("-")[0]: os.path.join(self._folder, name) for name in os.listdir(self._folder)
                 if not name.endswith(".lock")}
        return [found["wayland"], found["sway"]] if "wayland" in found and "sway" in found else None

    def _start_manager(self, env):
        """The compositor is it."""

    def start_tray(self):
        """There is none."""

    def close(self):
        super().close()
        if hasattr(self, "pointer"):
            self.pointer.close()
            del self.pointer
        if hasattr(self, "_folder"):
            shutil.rmtree(self._folder, ignore_errors=True)

    def save_screenshot(self, name):
        path = os.path.join(self.logs, name + ".png")
        self.ask("grim", path)
        return path

    def tell(self, *words):
        """A command to the compositor."""
        answer = self.ask("swaymsg", *words)
        assert answer is not None, f"swaymsg {words} failed"
        return answer

    def windows(self):
        """The program's windows as the compositor has them, in order of their making."""
        def walk(node):
            if node.get("app_id"):
                yield node
            for child in node["nodes"] + node["floating_nodes"]:
                yield from walk(child)
        return sorted(walk(json.loads(self.tell("-t", "get_tree"))), key=lambda node: node["id"])

    def colours(self):
        """How many colours the screen shows."""
        self.save_screenshot("colours")
        return int(self.ask("identify", "-format", "%k", os.path.join(self.logs, "colours.png")) or 0)


class Pointer:
    """A mouse, by the compositor's own protocol for such. It speaks the wire format itself: a message is the number of
    an object, its size and code, and 32-bit words."""

    def __init__(self, path):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(20)
        self._socket.connect(path)
        registry, manager, self._pointer = 2, 3, 4
        self._send(1, 1, registry)
        name = self._find(registry, b"zwlr_virtual_pointer_manager_v1")
        self._send(registry, 0, name, b"zwlr_virtual_pointer_manager_v1", 1, manager)
        self._send(manager, 0, 0, self._pointer)

    def close(self):
        self._socket.close()

    def _send(self, target, code, *arguments):
        body = b"".join(struct.pack("=I", len(word) + 1) + word + b"\0" * (4 - len(word) % 4)
                        if isinstance(word, bytes) else struct.pack("=I", word) for word in arguments)
        self._socket.sendall(struct.pack("=II", target, (8 + len(body)) << 16 | code) + body)

    def _read(self, count):
        data = b""
        while len(data) < count:
            part = self._socket.recv(count - len(data))
            assert part, "the compositor has hung up"
            data += part
        return data

    def _find(self, registry, interface):
        """The number under which the compositor offers an interface."""
        while True:
            target, word = struct.unpack("=II", self._read(8))
            body = self._read((word >> 16) - 8)
            if target == registry and word & 0xffff == 0 and interface + b"\0" in body:
                return struct.unpack_from("=I", body)[0]

    @staticmethod
    def _now():
        return int(time.monotonic() * 1000) & 0xffffffff

    def _frame(self):
        self._send(self._pointer, 4)

    def move(self, x, y):
        self._send(self._pointer, 1, self._now(), x, y, WIDTH, HEIGHT)
        self._frame()

    def press(self, pressed=True):
        self._send(self._pointer, 2, self._now(), LEFT_BUTTON, int(pressed))
        self._frame()

    def click(self, x, y):
        self.move(x, y)
        self.press()
        self.press(False)
