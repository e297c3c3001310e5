# SPDX-License-Identifier: GPL-2.0-or-later
"""A desktop on a virtual display: X server, session bus, accessibility bus, window manager, tray."""

import os
import shutil
import subprocess
import tempfile

from .processes import Process, start_and_read_line
from .waiting import wait_until

A11Y_LAUNCHERS = ("/usr/libexec/at-spi-bus-launcher", "/usr/lib/at-spi2-core/at-spi-bus-launcher")


class Desktop:
    """One for each test program: the accessibility library keeps its first connection. Use as a context."""

    def __init__(self, logs, tray=True, manager=True, screen=(1280, 800)):
        os.makedirs(logs, exist_ok=True)
        self.logs = logs
        self._tray = tray
        self._manager = manager
        self._screen = screen
        self._home = tempfile.mkdtemp(prefix="tesl-desktop-")
        self._processes = []
        self.environment = {}

    def __enter__(self):
        try:
            self._start()
        except BaseException:
            self.close()
            raise
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        for process in reversed(self._processes):
            process.kill()
        self._processes = []
        shutil.rmtree(self._home, ignore_errors=True)

    def _start(self):
        env = dict(os.environ)
        for name in ("WAYLAND_DISPLAY", "DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "AT_SPI_BUS_ADDRESS",
                     "QT_QUICK_BACKEND"):
            env.pop(name, None)
        env.update(HOME=self._home, XDG_RUNTIME_DIR=self._home, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", LANG="C.UTF-8")
        os.chmod(self._home, 0o700)
        self._start_display(env)
        env["DBUS_SESSION_BUS_ADDRESS"] = self._start_told("bus", env, lambda fd: [
            "dbus-daemon", "--session", "--nofork", f"--print-address={fd}"])
        launcher = next(path for path in A11Y_LAUNCHERS if os.path.exists(path))
        self._add("a11y", [launcher, "--launch-immediately", "--a11y=1"], env)
        if self._manager:
            self._start_manager(env)
        self.environment = env
        if self._tray:
            self.start_tray()
        wait_until(lambda: "org.a11y.Bus" in (self._ask(
            env, "dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/",
            "org.freedesktop.DBus.ListNames") or ""), 20, "an accessibility bus")
        os.environ.update({name: env[name] for name in ("DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR")})

    def _start_display(self, env):
        width, height = self._screen
        number = self._start_told("xvfb", env, lambda fd: [
            "Xvfb", "-displayfd", str(fd), "-screen", "0", f"{width}x{height}x24", "-nolisten", "tcp", "-noreset"])
        env["DISPLAY"] = os.environ["DISPLAY"] = f":{number}"
        wait_until(lambda: self._ask(env, "xprop", "-root", "_NET_SUPPORTED") is not None, 20, "a display")

    def _start_manager(self, env):
        self._add("openbox", ["openbox"], env)
        wait_until(lambda: "window id" in (self._ask(env, "xprop", "-root", "_NET_SUPPORTING_WM_CHECK") or ""), 20,
                   "a window manager")

    def start_tray(self):
        """A tray of X11, which ends with the desktop at the latest."""
        tray = self._add("trayer", ["trayer", "--edge", "bottom", "--align", "right", "--widthtype", "request",
                                    "--height", "28"], self.environment)
        wait_until(lambda: '("panel" "trayer")' in (self.ask("xwininfo", "-root", "-tree") or ""), 20, "a tray")
        return tray

    def _add(self, name, command, env, pass_fds=()):
        process = Process(name, command, self.logs, env, pass_fds)
        self._processes.append(process)
        return process

    def _start_told(self, name, env, command_with):
        _, line = start_and_read_line(lambda fd: self._add(name, command_with(fd), env, (fd,)), 20, f"{name} to tell")
        return line

    @staticmethod
    def _ask(env, *command):
        """Standard output of a quick command, None where it fails."""
        done = subprocess.run(command, env=env, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, timeout=20,
                              check=False)
        return done.stdout.decode(errors="replace") if done.returncode == 0 else None

    def ask(self, *command):
        return self._ask(self.environment, *command)

    def save_screenshot(self, name):
        """A picture of the whole screen in the log folder."""
        path = os.path.join(self.logs, name + ".png")
        self.ask("import", "-silent", "-window", "root", path)
        return path
