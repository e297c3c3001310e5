# SPDX-License-Identifier: GPL-2.0-or-later
"""How tesl-gui starts where something is wrong, and how it ends."""

import glob
import os
import re
import shutil
import signal
import subprocess
import time
import unittest

from tesl_support import samples
from tesl_support.case import WindowCase
from tesl_support.processes import Process
from tesl_support.waiting import wait_until

GARBAGE = bytes(range(256)) * 64


class Start(WindowCase):
    def assert_opens(self, **environment):
        window = self.open_window(**environment)
        window.wait_open()
        wait_until(window.is_unavailable, 20, "the no-connection page shows")
        self.assertEqual(window.close(), 0)
        self.assertFalse(os.path.exists(self.product.pid_file))

    def end(self, **environment):
        """Runs the program, which ends by itself before it opens a window."""
        done = subprocess.run([self.product.gui_program], env={**self.desktop.environment, **environment}, timeout=60,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
        return done.returncode, done.stdout.decode(), done.stderr.decode()

    def trace(self):
        """All that the window's programs have traced."""
        text = ""
        for path in glob.glob(os.path.join(self.product.stage, "var/log/tolvander/**/tesl-gui.*"), recursive=True):
            with open(path, encoding="utf-8", errors="replace") as file:
                text += file.read()
        return text

    def test_opens_without_a_configuration(self):
        self.assert_opens()

    def test_opens_with_a_broken_configuration(self):
        texts = {
            "garbage": GARBAGE.decode("latin-1"),
            "not-an-ini-file": "[General\nLocale",
            "out-of-range": "[General]\nScanMemoryLimit=99999999999999999999\nWatchdogPingTimeout=-x\nPCID=zzz\n",
            "unknown-locale": "[General]\nLocale=xx_XX.NOWHERE\n",
            "empty-locale": "[General]\nLocale=\n",
            "empty-socket-path": "[General]\nSocketPath=\n",
        }
        for name, text in texts.items():
            with self.subTest(name):
                self.product.configure(text)
                self.assert_opens()

    def test_opens_with_a_configuration_that_is_no_file(self):
        os.mkdir(self.product.configuration)
        self.assert_opens()

    def test_a_stale_or_empty_pid_file_is_taken_over(self):
        for content in (b"", b"999999999", b"not a number"):
            with self.subTest(content):
                samples.write(self.product.pid_file, content)
                self.assert_opens()

    def test_a_second_start_tells_the_first(self):
        first = self.open_window("first")
        first.wait_open()
        self.assertEqual(self.end(),
                         (0, f"Already running instance with pid {first.process.pid} has been notified\n", ""))
        self.assertTrue(first.process.is_alive())
        self.assertEqual(first.close(), 0)

    def test_a_second_start_tells_when_the_first_is_gone(self):
        with self.product.hold_pid_file("999999999"):
            text = "Another instance with pid 999999999 is already running but not responding: No such process\n"
            self.assertEqual(self.end(), (1, "", text))

    def test_a_locked_pid_file_without_a_number_ends_the_start(self):
        with self.product.hold_pid_file(""):
            code, output, errors = self.end()
            self.assertEqual((code, output), (-signal.SIGABRT, ""))
            self.assertRegex(errors, r"\bstd::invalid_argument\b[^$]*\bstoi\b")

    def test_a_certified_build_has_no_window(self):
        samples.write(self.product.certified_marker, b"Certified product\nmore\n")
        self.assertEqual(self.end(), (1, "Gui is prohibited for certified build.\n", ""))
        samples.write(self.product.certified_marker, b"Certified product or not\n")
        self.assert_opens()

    def test_a_missing_loader_ends_the_start(self):
        with Replaced(os.path.join(self.product.library_folder, "libapp_core_legacy.so"), None):
            self.assertEqual(self.end(), (1, "", "Cannot create application loader. Code: 80010112\n"))

    def test_a_loader_without_its_export_ends_the_start(self):
        with Replaced(os.path.join(self.product.library_folder, "libapp_core_legacy.so"), a_system_library()):
            self.assertEqual(self.end(), (1, "", "Cannot create application loader. Code: 80010107\n"))

    def test_a_loader_that_is_no_library_ends_the_start(self):
        with Replaced(os.path.join(self.product.library_folder, "libapp_core_legacy.so"), __file__):
            self.assertEqual(self.end(), (1, "", "Cannot create application loader. Code: 80010112\n"))

    def test_other_missing_modules_end_the_start_with_their_code(self):
        missing, unspecified = 0x80010112, 0x8000004B
        linker = "{path}: cannot open shared object file: No such file or directory\n"
        failures = {
            "loader.so": (missing, linker, "Cannot initialize service manager"),
            "libparams.so": (missing, linker, "Cannot initialize service manager"),
            "libkey_value_storage.so": (missing, "", "Cannot initialize service manager"),
            "libremoting.so": (unspecified, "", "Rununknown exception"),
        }
        for name, (code, errors, text) in failures.items():
            path = os.path.join(self.product.library_folder, name)
            with self.subTest(name), Replaced(path, None):
                self.product.reset()
                self.assertEqual(self.end(), (code & 0xff, "", errors.format(path=path)))
                self.assertEqual(self.trace(), "")
                self.assertEqual(self.end(TFS_ENABLE_ALL_COMPONENTS_LOGGING="")[0], code & 0xff)
                self.assertRegex(self.trace(), rf"(?m)^[^\n]*\t300\t[^\n]*{text}")

    def test_signals_during_start_up_are_not_lost(self):
        """In the ten seconds before a tray-only start a second start kills nobody, and SIGTERM is remembered."""
        begin = time.monotonic()
        first = Process("first", [self.product.gui_program, "--tray-only"], self.product.logs, self.desktop.environment)
        self.addCleanup(first.kill)
        wait_until(lambda: self.product.pid_in_file() == first.pid, 20, "the program has its pid file")
        self.assertEqual(self.end()[0], 0)
        first.signal(signal.SIGTERM)
        self.assertEqual(first.wait(40), 0, first.output())
        self.assertGreaterEqual(time.monotonic() - begin, 10)
        self.assertFalse(os.path.exists(self.product.pid_file))

    def test_an_update_during_start_up_restarts_the_program(self):
        """Noticed while a tray-only start waits, before there is an event loop to end."""
        program = self.product.gui_program
        first = Process("updated", [program, "--tray-only"], self.product.logs, self.desktop.environment)
        self.addCleanup(first.kill)
        wait_until(lambda: self.product.pid_in_file() == first.pid, 20, "the program has its pid file")
        before = os.stat(f"/proc/{first.pid}/exe").st_ino
        shutil.copy2(program, program + ".new")
        os.replace(program + ".new", program)
        wait_until(lambda: os.stat(f"/proc/{first.pid}/exe").st_ino != before, 40, "the new program runs")
        wait_until(lambda: self.product.pid_in_file() == first.pid, 20, "the new program has its pid file")
        self.assertEqual(first.stop(40), 0)

    def test_a_storm_of_starts_leaves_the_window_alive(self):
        window = self.open_window("storm")
        wait_until(lambda: self.product.pid_in_file() == window.process.pid, 20, "the program has its pid file")
        sent = 0

        def signal_until_open():
            nonlocal sent
            for _ in range(100):
                window.process.signal(signal.SIGUSR1)
                sent += 1
            return sent > 20000 or not window.process.is_alive()

        wait_until(signal_until_open, 60, "all signals are sent")
        window.wait_open()
        wait_until(window.is_unavailable, 20, "the no-connection page shows")
        self.assertEqual(window.process.stop(), 0)

    def test_every_thread_holds_the_signals_back(self):
        window = self.open_window("threads")
        window.wait_open()
        held = sum(1 << (number - 1) for number in (signal.SIGINT, signal.SIGTERM, signal.SIGUSR1))
        for thread in os.listdir(f"/proc/{window.process.pid}/task"):
            with open(f"/proc/{window.process.pid}/task/{thread}/status", encoding="utf-8") as file:
                blocked = int(re.search(r"SigBlk:\s*([0-9a-f]+)", file.read()).group(1), 16)
            self.assertEqual(blocked & held, held, f"thread {thread}")
        self.assertEqual(window.close(), 0)

    def test_a_missing_tracer_costs_the_trace_and_not_the_window(self):
        with Replaced(os.path.join(self.product.library_folder, "libinstrumental_services.so"), None):
            self.assert_opens(TFS_ENABLE_ALL_COMPONENTS_LOGGING="1")

    def test_without_a_display_the_program_ends(self):
        process = self.open_window("blind", DISPLAY="", QT_QPA_PLATFORM="xcb").process
        self.assertEqual(process.wait(30), 1)

    def test_the_service_starts_with_broken_settings(self):
        for text in ("", "{", '{"scanScope": 7}', '{"scanScope": ["relative"]}', '{"scannerWorkers": -1}', "[]",
                     GARBAGE.decode("latin-1")):
            with self.subTest(text[:40]):
                with open(self.product.service_configuration, "w", encoding="latin-1") as file:
                    file.write(text)
                self.product.start_service()
                self.assertEqual(self.product.stop_service(), 0)


class Replaced:
    """Puts another file, or none, in the place of an installed one for a while."""

    def __init__(self, path, replacement):
        self._path = path
        self._replacement = replacement

    def __enter__(self):
        os.rename(self._path, self._path + ".away")
        if self._replacement:
            shutil.copyfile(self._replacement, self._path)

    def __exit__(self, *_):
        os.replace(self._path + ".away", self._path)


def a_system_library():
    """A shared library that knows nothing of this product."""
    with open("/proc/self/maps", encoding="utf-8") as maps:
        return re.search(r"/\S*libm[.-]\S*", maps.read()).group()


if __name__ == "__main__":
    unittest.main()
