# SPDX-License-Identifier: GPL-2.0-or-later
"""Window and command line in Russian, for a machine that has the locale."""

import json
import os
import re
import subprocess
import unittest

from tesl_support import samples
from tesl_support.case import ProductCase, WindowCase
from tesl_support.waiting import wait_until

LOCALE = "ru_RU.UTF-8"
# Names that assistive programs read for symbols have no row in the catalogue.
SYMBOLS = {"Back", "Busy", "Close", "Delete", "Help", "Minimize"}


def texts_of(product):
    with open(os.path.join(product.top, "shared/loc/ru.loc"), encoding="utf-8") as file:
        return json.load(file)


def make_locales(folder):
    """A locale of our own: the machine need not have any beside C."""
    locales = os.path.join(folder, "locales")
    os.makedirs(locales)
    subprocess.run(["localedef", "-i", "ru_RU", "-f", "UTF-8", os.path.join(locales, LOCALE)], check=True)
    return locales


class RussianCommandLine(ProductCase):
    def setUp(self):
        super().setUp()
        self.texts = texts_of(self.product)
        self.russian = {"LOCPATH": make_locales(self.folder), "LC_ALL": "", "LC_MESSAGES": "", "LANG": LOCALE}

    def test_help_and_refusals_follow_the_environment(self):
        help_text = self.product.control("--help", **self.russian).stdout.decode()
        self.assertEqual(help_text, self.texts["CommandHelp"] + "\n")
        english = self.product.control("--help").stdout
        for other in ({"LC_ALL": "C"}, {"LC_MESSAGES": "C"}, {"LANG": "ru_RU"}, {"LANG": "../ru"}, {"LOCPATH": "/none"}):
            self.assertEqual(self.product.control("--help", **{**self.russian, **other}).stdout, english, other)

        self.product.start_service()
        code, document = self.product.control_json("--set-app-settings", "TraceMaxFileSize=many", **self.russian)
        self.assertEqual((code, document["error"]["code"]), (78, "invalid-settings"))
        self.assertEqual(document["error"]["text"],
                         self.texts["SettingValueIsNotValidInteger"].replace("%1$s", "TraceMaxFileSize=many"))
        code, document = self.product.control_json("--get-task-list", **self.russian)
        self.assertEqual((code, document), self.product.control_json("--get-task-list"))
        told = self.product.control("--app-info", **self.russian).stdout.decode().splitlines()
        self.assertIn("  " + self.texts["GuiProtectionStateFullScanNeverRun"], told)


class RussianWindow(WindowCase):
    def setUp(self):
        super().setUp()
        self.locales = make_locales(self.folder)
        self.product.configure(f"[General]\nLocale={LOCALE}\n")

    def english_in(self, window):
        """Shown texts with a Latin word that is neither a name nor a path."""
        found = []
        for node in window.nodes():
            text = re.sub(r"Tolvander[\w. ]*|/\S*|ID|<[^>]*>", "", node.name())
            if node.is_showing() and text not in SYMBOLS and re.search(r"[A-Za-z]{3,}", text):
                found.append(node.name())
        return found

    def test_every_text_of_the_window_is_russian(self):
        texts = texts_of(self.product)
        samples.write(os.path.join(self.scope, "test-file.com"), samples.test_file())
        self.product.start_service()
        window = self.open_window(LOCPATH=self.locales)
        window.wait_open()
        wait_until(lambda: window.shows(texts["GuiAppInfoButtonScan"])
                   and not window.shows(texts["GuiAppIsUnavailable"]), 30, "the main page shows in Russian")
        self.desktop.save_screenshot("main-page")
        self.assertEqual(self.english_in(window), [])

        window.press(texts["GuiAppInfoButtonScan"], enabled=True)
        wait_until(lambda: window.shows(texts["GuiTaskNameFullScanTask"]), 20, "the task's row shows")
        self.product.control("--start-task", "Scan_My_Computer")
        wait_until(lambda: window.shows(texts["GuiTaskResultDetect"]), 60, "the result shows")
        self.desktop.save_screenshot("scan-page")
        self.assertEqual(self.english_in(window), [])

        self.product.stop_service()
        wait_until(lambda: window.shows(texts["GuiAppIsUnavailable"]), 30, "the page without a connection shows")
        self.desktop.save_screenshot("no-connection")
        self.assertEqual(self.english_in(window), [])
        self.assertEqual(window.close(), 0)

    def test_a_locale_that_the_machine_lacks_leaves_the_window_english(self):
        self.product.start_service()
        window = self.open_window(LOCPATH=os.path.join(self.folder, "nowhere"))
        window.wait_open()
        window.wait_connected()
        self.assertEqual(window.close(), 0)


if __name__ == "__main__":
    unittest.main()
