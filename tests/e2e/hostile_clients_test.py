# SPDX-License-Identifier: GPL-2.0-or-later
"""Clients that do everything wrong: each costs its own connection, and the service goes on for all others."""

import os
import random
import signal
import socket
import struct
import unittest

from tesl_support import samples
from tesl_support.case import ProductCase
from tesl_support.event_follower import EventFollower
from tesl_support.waiting import wait_until

THREATS = 4000
IDLE = 400
# What the service may have grown by when the clients have gone.
GROWTH = 1.3


class Follower(EventFollower):
    """Follows threats. Their paths stand in `paths`, in the order in which they were told."""

    def __init__(self, product):
        super().__init__(product, "--event-type", "ThreatDetected")

    @property
    def paths(self):
        return [path for _, path in self.told("FileName")]

    def below(self, folder):
        return [path for path in self.paths if path.startswith(folder)]


def message(segments, words, content=b""):
    """A message's table, which declares so many segments of so many words each, and what follows it."""
    sizes = [words] * min(segments, 4096)
    return struct.pack(f"<{1 + len(sizes)}I", segments - 1 & 0xFFFFFFFF, *sizes) + content


class HostileClients(ProductCase):
    def setUp(self):
        super().setUp()
        self.scan_threats("first", 50)
        self.latest = self.scan_threats("latest", 1)
        # Where the address sanitizer looks on, what it keeps back is no memory of the service.
        options = os.environ.get("ASAN_OPTIONS", "")
        self.product.start_service(ASAN_OPTIONS=options + ":quarantine_size_mb=1")
        self.follower = self.follow()
        self.control_works()
        self.process = self.product.service
        self.descriptors = self.process.descriptors()
        self.memory = self.process.memory()

    def scan_threats(self, name, count):
        """A folder of so many files to be found."""
        folder = os.path.join(self.scope, name)
        for i in range(count):
            samples.write(os.path.join(folder, f"{i:05}"), samples.test_file())
        return folder

    def follow(self):
        """A follower that has subscribed: it tells what is found."""
        follower = Follower(self.product)
        self.addCleanup(follower.close)

        def tells():
            self.scan(os.path.join(self.scope, "first", "00000"))
            return follower.paths

        wait_until(tells, 30, "the follower tells what is found")
        return follower

    def scan(self, path):
        code, document = self.product.control_json("--scan-file", path)
        self.assertEqual(code, 1, document)
        return [threat["path"] for threat in document["threats"]]

    def control_works(self):
        return self.product.control("--get-task-list", check=False).returncode == 0

    def connect(self):
        visitor = socket.socket(socket.AF_UNIX)
        self.addCleanup(visitor.close)
        visitor.settimeout(20)
        # It fails at once while many others wait to be let in.
        wait_until(lambda: visitor.connect_ex(self.product.socket) == 0, 20, "the service takes a connection")
        return visitor

    def send(self, data):
        """A connection that says this and goes on listening; what the service thinks of it is its own affair."""
        visitor = self.connect()
        try:
            visitor.sendall(data)
        except (BrokenPipeError, ConnectionResetError):
            pass
        return visitor

    @staticmethod
    def is_closed(visitor):
        """The other side has closed it; what it said before is dropped."""
        visitor.setblocking(False)
        try:
            while visitor.recv(65536):
                pass
        except BlockingIOError:
            return False
        except ConnectionResetError:
            pass
        return True

    def assert_all_are_closed(self, visitors, seconds=20):
        wait_until(lambda: all(map(self.is_closed, visitors)), seconds, "the service closes what is no client")

    def assert_unharmed(self):
        """Commands work, the honest follower is told everything, and nothing has been kept."""
        wait_until(self.control_works, 20, "tesl-control works")
        self.assertTrue(self.process.is_alive(), self.process.output())
        self.scan_and_follow(os.path.join(self.scope, "first"))
        wait_until(lambda: self.process.descriptors() <= self.descriptors, 20, "no descriptor is gained")
        self.assertLess(self.process.memory(), GROWTH * self.memory)

    def test_random_bytes(self):
        chance = random.Random(1)
        visitors = []
        for number in range(100):
            data = chance.randbytes(chance.randrange(1, 1 << 16))
            if number % 2:  # an envelope that could be one
                data = message(1, len(data) // 8, data)
            visitors.append(self.send(data))
            if number % 10 == 9:
                self.assert_all_are_closed(visitors)
        self.assert_unharmed()

    def test_messages_that_declare_more_than_they_may(self):
        for segments, words in ((1, 0xFFFFFFFF), (1, 64 << 17), (512, 1 << 17), (4096, 0x7FFFFFFF), (1 << 32, 1),
                                (1, (1 << 17) + (1 << 10))):
            with self.subTest(segments=segments, words=words):
                visitors = [self.send(message(segments, words, bytes(8192))) for _ in range(8)]
                self.assertLess(self.process.memory(), GROWTH * self.memory)
                # At once, and not when the time for a greeting is over.
                self.assert_all_are_closed(visitors, seconds=1)
        self.assert_unharmed()

    def test_hundreds_of_connections_that_say_nothing(self):
        visitors = [self.connect() for _ in range(IDLE)]
        self.assertTrue(self.follower.is_alive())
        wait_until(self.control_works, 20, "tesl-control works while they are there")
        self.assert_all_are_closed(visitors)
        self.assert_unharmed()

    def test_a_client_that_never_reads_its_events(self):
        folder = self.scan_threats("many", THREATS)
        self.scan_and_follow(folder)
        self.memory = self.process.memory()
        self.meet_deaf_client(folder)
        # To tell what was missed the store has been opened once more, with a cache of its own.
        self.memory, self.descriptors = self.process.memory(), self.process.descriptors()
        self.meet_deaf_client(folder)
        self.assert_unharmed()

    def meet_deaf_client(self, folder):
        """It costs no memory, the other client is told everything, and it is told all the same once it listens."""
        deaf = self.follow()
        deaf.signal(signal.SIGSTOP)
        for _ in range(3):
            self.scan_and_follow(folder)
        self.assertLess(self.process.memory(), GROWTH * self.memory)
        deaf.signal(signal.SIGCONT)
        wait_until(lambda: len(deaf.below(folder)) >= 3 * THREATS, 30, "what was missed is told")
        self.assertEqual(deaf.below(folder), self.follower.below(folder)[-3 * THREATS:])
        deaf.close()

    def catch_up(self):
        """From then on nothing of what was scanned before is on its way to the follower."""
        told = len(self.follower.below(self.latest))
        self.scan(self.latest)
        wait_until(lambda: len(self.follower.below(self.latest)) > told, 60, "the follower has caught up")

    def scan_and_follow(self, folder):
        self.catch_up()
        told = len(self.follower.paths)
        found = self.scan(folder)
        self.assertGreater(len(found), 0)
        wait_until(lambda: len(self.follower.paths) - told >= len(found), 60, "the follower is told what is found")
        self.assertEqual(sorted(self.follower.paths[told:]), sorted(found))


if __name__ == "__main__":
    unittest.main()
