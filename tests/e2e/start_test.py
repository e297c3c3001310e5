# SPDX-License-Identifier: GPL-2.0-or-later
"""How tesl-gui starts where something is wrong, and how it ends."""

import os
import re
import shutil
import unittest

from tesl_support import samples
from tesl_support.case import WindowCase
from tesl_support.waiting import wait_until

GARBAGE = bytes(range(256)) * 64


class Start(WindowCase):
    def assert_opens(self, **environment):
        window = self.open_window(**environment)
        window.wait_open()
        wait_until(window.is_unavailable, 20, "the no-connection page shows")
        self.assertEqual(window.close(), 0)
        self.assertFalse(os.path.exists(self.product.pid_file))

    def assert_ends(self, code, text):
        """The program ends by itself before it opens a window."""
        process = self.open_window("ends").process
        self.assertEqual(process.wait(30), code, process.output())
        self.assertRegex(process.output(), text)

    def test_opens_without_a_configuration(self):
        self.assert_opens()

    def test_opens_with_a_broken_configuration(self):
        texts = {
            "garbage": GARBAGE.decode("latin-1"),
            "not-an-ini-file": "[General\nLocale",
            "out-of-range": "[General]\nScanMemoryLimit=99999999999999999999\nWatchdogPingTimeout=-x\nPCID=zzz\n",
            "unknown-locale": "[General]\nLocale=xx_XX.NOWHERE\n",
            "empty-locale": "[General]\nLocale=\n",
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
        self.assert_ends(0, f"Already running instance with pid {first.process.pid} has been notified\n")
        self.assertTrue(first.process.is_alive())
        self.assertEqual(first.close(), 0)

    def test_a_second_start_tells_when_the_first_is_gone(self):
        with self.product.hold_pid_file("999999999"):
            self.assert_ends(1, "Another instance with pid 999999999 is already running but not responding: ")

    def test_a_locked_pid_file_without_a_number_ends_the_start(self):
        with self.product.hold_pid_file(""):
            process = self.open_window("empty").process
            self.assertNotEqual(process.wait(30), 0)

    def test_a_certified_build_has_no_window(self):
        samples.write(self.product.certified_marker, b"Certified product\nmore\n")
        self.assert_ends(1, "Gui is prohibited for certified build.\n")
        samples.write(self.product.certified_marker, b"Certified product or not\n")
        self.assert_opens()

    def test_a_missing_loader_ends_the_start(self):
        with Replaced(os.path.join(self.product.library_folder, "libapp_core_legacy.so"), None):
            self.assert_ends(1, "Cannot create application loader. Code: (0x)?80010112")

    def test_a_loader_without_its_export_ends_the_start(self):
        with Replaced(os.path.join(self.product.library_folder, "libapp_core_legacy.so"), a_system_library()):
            self.assert_ends(1, "Cannot create application loader. Code: (0x)?80010107")

    def test_a_loader_that_is_no_library_ends_the_start(self):
        with Replaced(os.path.join(self.product.library_folder, "libapp_core_legacy.so"), __file__):
            self.assert_ends(1, "Cannot create application loader. Code: (0x)?8")

    def test_other_missing_modules_end_the_start_without_a_crash(self):
        for name in ("loader.so", "libparams.so", "libkey_value_storage.so"):
            with self.subTest(name), Replaced(os.path.join(self.product.library_folder, name), None):
                process = self.open_window(name).process
                code = process.wait(30)
                self.assertGreater(code, 0, f"{name}: {code} {process.output()}")

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
