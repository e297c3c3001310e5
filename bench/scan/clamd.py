# SPDX-License-Identifier: GPL-2.0-or-later
"""The packaged daemon that is measured against: the same signatures, the same limits, temporary files on tmpfs."""

import os
import shutil
import subprocess
import time

CONFIGURATION = """\
LocalSocket {work}/clamd.socket
DatabaseDirectory {bases}
TemporaryDirectory {temporary}
Foreground yes
MaxThreads {threads}
MaxFileSize 1024M
MaxScanSize 2048M
MaxFiles 100000
LogFile {work}/clamd.log
"""
STARTS_WITHIN = 60  # seconds


def missing_tools():
    return [tool for tool in ("clamd", "clamdscan") if shutil.which(tool) is None]


class Clamd:
    """One daemon; it remembers clean files until it is stopped."""

    def __init__(self, work, bases, temporary):
        self._work = work
        self._configuration = os.path.join(work, "clamd.conf")
        self._socket = os.path.join(work, "clamd.socket")
        self._process = None
        os.makedirs(temporary, exist_ok=True)
        with open(self._configuration, "w", encoding="utf-8") as file:
            file.write(CONFIGURATION.format(work=work, bases=bases, temporary=temporary, threads=os.cpu_count()))

    def __enter__(self):
        if os.path.exists(self._socket):
            os.unlink(self._socket)
        self._process = subprocess.Popen(["clamd", f"--config-file={self._configuration}"], stdout=subprocess.DEVNULL,
                                         stderr=subprocess.DEVNULL)
        deadline = time.monotonic() + STARTS_WITHIN
        while not os.path.exists(self._socket):
            if self._process.poll() is not None or time.monotonic() > deadline:
                self.__exit__()
                with open(os.path.join(self._work, "clamd.log"), encoding="utf-8") as file:
                    raise RuntimeError("clamd didn't start: " + file.read())
            time.sleep(0.05)
        return self

    def __exit__(self, *_):
        self._process.terminate()
        self._process.wait()

    def scan(self, folder):
        """Seconds for the folder, in which nothing is to be found."""
        begin = time.monotonic()
        done = subprocess.run(["clamdscan", f"--config-file={self._configuration}", "--multiscan", "--fdpass",
                               "--no-summary", "--infected", folder], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              check=False)
        seconds = time.monotonic() - begin
        if done.returncode != 0:
            raise RuntimeError("clamdscan: " + done.stdout.decode(errors="replace"))
        return seconds
