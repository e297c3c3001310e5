# SPDX-License-Identifier: GPL-2.0-or-later
"""A custom scan that doesn't end before it has been looked at."""

import subprocess

from .waiting import wait_until


class HeldScan:
    """Begun by the command line and suspended as soon as it runs; `task` is its task's number."""

    def __init__(self, product, *paths):
        self._product = product
        self._process = subprocess.Popen([product.control_program, "--scan-file", *paths],
                                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.task = wait_until(self._find, 30, "the scan runs")["id"]
        product.control("--suspend-task", str(self.task))

    def _find(self):
        _, document = self._product.control_json("--get-task-list")
        return next((task for task in document["tasks"] if task["temporary"] and task["state"] == "Started"), None)

    def release(self):
        """Lets it go on and returns its exit code."""
        wait_until(lambda: self._product.control_json("--resume-task", str(self.task))[0] == 0, 20, "the scan goes on")
        return self._process.wait(120)

    def kill(self):
        self._process.kill()
        self._process.wait()
