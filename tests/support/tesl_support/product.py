# SPDX-License-Identifier: GPL-2.0-or-later
"""The staged product: where its parts lie, its service, its command line."""

import fcntl
import json
import os
import shutil
import socket
import subprocess

from .processes import Process
from .waiting import wait_until


class Product:
    """The installation below a stage folder. Every test that uses it holds the lock `stage`."""

    def __init__(self, stage, logs):
        os.makedirs(logs, exist_ok=True)
        self.stage = stage
        self.logs = logs
        self.top = os.path.join(stage, "opt/tolvander/tesl")
        self.gui_program = os.path.join(self.top, "libexec/tesl-gui")
        self.service_program = os.path.join(self.top, "libexec/tesl-service")
        self.control_program = os.path.join(self.top, "bin/tesl-control")
        self.library_folder = os.path.join(self.top, "libarm64")
        self.certified_marker = os.path.join(self.top, "doc/cert.info")
        self.common = os.path.join(stage, "var/opt/tolvander/tesl/common")
        self.configuration = os.path.join(self.common, "tesl.ini")
        self.service_configuration = os.path.join(self.common, "service.json")
        self.task_state = os.path.join(stage, "var/opt/tolvander/tesl/private/storage/tasks.json")
        self.bases_folder = os.path.join(self.common, "bases")
        self.policy_folder = os.path.join(stage, "etc/opt/tolvander/tesl/policy.d")
        self.socket = os.path.join(stage, "var/run/bl4control")
        self.pid_file = os.path.join(stage, f"tmp/.tesl-gui-{os.getuid()}.pid")
        self.service = None
        for folder in (self.common, os.path.dirname(self.socket), os.path.dirname(self.pid_file),
                       os.path.dirname(self.certified_marker)):
            os.makedirs(folder, exist_ok=True)

    def reset(self):
        """As after a fresh installation: no settings, policies, events, traces, sockets or locks."""
        for folder in ("var/opt/tolvander/tesl", "var/log/tolvander", "var/run", "tmp"):
            shutil.rmtree(os.path.join(self.stage, folder), ignore_errors=True)
            os.makedirs(os.path.join(self.stage, folder))
        os.makedirs(self.common)
        shutil.rmtree(self.policy_folder, ignore_errors=True)
        if os.path.exists(self.certified_marker):
            os.unlink(self.certified_marker)

    def configure_service(self, **settings):
        with open(self.service_configuration, "w", encoding="utf-8") as file:
            json.dump(settings, file)

    def write_policy(self, name, text):
        """Puts a policy file in its place at once, as a console does."""
        os.makedirs(self.policy_folder, mode=0o755, exist_ok=True)
        path = os.path.join(self.policy_folder, name)
        with open(path + ".part", "w", encoding="utf-8") as file:
            os.fchmod(file.fileno(), 0o644)
            file.write(text)
        os.rename(path + ".part", path)
        return path

    def configure(self, text):
        with open(self.configuration, "w", encoding="utf-8") as file:
            file.write(text)

    # --- service

    def spawn_service(self, name="service", **environment):
        """Starts the service and waits for nothing."""
        self.service = Process(name, [self.service_program], self.logs, {**os.environ, **environment})
        return self.service

    def start_service(self, **environment):
        """Starts the service and waits until it answers with its signatures loaded."""
        self.spawn_service(**environment)
        wait_until(lambda: not self.service.is_alive() or self.answers(), 60, "the service answers")
        assert self.service.is_alive(), "the service ended: " + self.service.output()[-2000:]
        return self.service

    def answers(self):
        done = self.control("--app-info", "--json", check=False)
        return done.returncode == 0 and json.loads(done.stdout)["appInfo"]["basesLoaded"]

    def listens(self):
        """Something takes connections at the service's place."""
        with socket.socket(socket.AF_UNIX) as visitor:
            return visitor.connect_ex(self.socket) == 0

    def stop_service(self):
        """Asks the service to end and returns its exit code."""
        service, self.service = self.service, None
        return service.stop() if service else None

    def kill_service(self):
        self.service.kill()
        self.service = None

    # --- command line

    def control(self, *arguments, check=True, seconds=120, **environment):
        """In English, whatever the machine's language, where the environment doesn't say another."""
        done = subprocess.run([self.control_program, *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, timeout=seconds, check=False,
                              env={**os.environ, "LC_ALL": "C.UTF-8", **environment})
        if check and done.returncode != 0:
            raise AssertionError(f"tesl-control {arguments} ended with {done.returncode}: {done.stderr.decode()}")
        return done

    def control_json(self, *arguments, **environment):
        """Exit code and document."""
        done = self.control("--json", *arguments, check=False, **environment)
        assert done.stderr == b"", done.stderr
        return done.returncode, json.loads(done.stdout)

    # --- pid file

    def pid_in_file(self):
        """0 where there is none, or one without a number."""
        try:
            with open(self.pid_file, encoding="utf-8") as file:
                return int(file.read() or 0)
        except FileNotFoundError:
            return 0

    def hold_pid_file(self, text):
        """Takes the window's lock, as another instance would. Closing the result gives it back."""
        file = open(self.pid_file, "w", encoding="utf-8")
        fcntl.flock(file, fcntl.LOCK_EX | fcntl.LOCK_NB)
        file.write(text)
        file.flush()
        return file
