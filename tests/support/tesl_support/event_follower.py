# SPDX-License-Identifier: GPL-2.0-or-later
"""A client that follows the service's events."""

import json
import subprocess
import threading
import time


class EventFollower:
    """tesl-control --wait-events. `events` has what it has told: the moment, of the monotonic clock, and the event."""

    def __init__(self, product, *arguments):
        self.events = []
        self._process = subprocess.Popen([product.control_program, "--wait-events", "--json", *arguments],
                                         stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
        self._reader = threading.Thread(target=self._read)
        self._reader.start()

    def _read(self):
        for line in self._process.stdout:
            self.events.append((time.monotonic(), json.loads(line)))

    def told(self, field):
        """Moment and value of a field, of each event that has it."""
        return [(moment, item["value"]) for moment, event in list(self.events) for item in event.get("fields", [])
                if item["name"] == field]

    def is_alive(self):
        return self._process.poll() is None

    def signal(self, number):
        self._process.send_signal(number)

    def close(self):
        self._process.kill()
        self._process.wait()
        self._reader.join()
        self._process.stdout.close()
