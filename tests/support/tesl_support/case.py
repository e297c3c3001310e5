# SPDX-License-Identifier: GPL-2.0-or-later
"""Base of end-to-end tests: one desktop for each test program, the staged product, and tidying up."""

import os
import shutil
import sys
import tempfile
import unittest

from .desktop import Desktop
from .product import Product

BUILD = os.environ.get("TESL_BUILD_FOLDER", "")
STAGE = os.environ.get("TESL_STAGE", "")


class ProductCase(unittest.TestCase):
    """Tests of the programs without a window."""

    @classmethod
    def setUpClass(cls):
        assert BUILD and STAGE, "TESL_BUILD_FOLDER and TESL_STAGE name the build and the staged product"
        program = os.path.splitext(os.path.basename(sys.argv[0]))[0]
        cls.logs = os.path.join(BUILD, "e2e", program)
        shutil.rmtree(cls.logs, ignore_errors=True)
        cls.product = Product(STAGE, cls.logs)

    def setUp(self):
        self.product.logs = os.path.join(self.logs, self._testMethodName)
        os.makedirs(self.product.logs, exist_ok=True)
        self.product.reset()
        self.folder = tempfile.mkdtemp(prefix="tesl-e2e-", dir=BUILD)
        self.scope = os.path.join(self.folder, "scope")
        os.makedirs(self.scope)
        self.product.configure_service(scanScope=[self.scope])
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.addCleanup(self._end_service)

    def _end_service(self):
        if self.product.service is not None:
            self.product.kill_service()


class WindowCase(ProductCase):
    """Tests with a window. A failed test leaves a picture of the screen in the log folder."""

    has_tray = True
    has_manager = True
    screen = (1280, 800)

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.desktop = cls.make_desktop(os.path.join(cls.logs, "desktop"))
        cls.enterClassContext(cls.desktop)

    @classmethod
    def make_desktop(cls, logs):
        return Desktop(logs, cls.has_tray, cls.has_manager, cls.screen)

    def setUp(self):
        super().setUp()
        self._windows = []
        self.addCleanup(self._end_windows)

    def open_window(self, name="gui", arguments=(), program=None, **environment):
        from .window import Window  # needs the desktop's bus, which begins with the class
        window = Window(self.product, self.desktop, name, arguments, program, **environment)
        self._windows.append(window)
        return window

    def _end_windows(self):
        if not self._passed():
            self.desktop.save_screenshot(self._testMethodName)
        for window in self._windows:
            window.process.kill()

    def _passed(self):
        outcome = self._outcome.result
        # A failed sub-test stands there as a case of its own.
        return not any(getattr(case, "test_case", case) is self for case, _ in outcome.failures + outcome.errors)
