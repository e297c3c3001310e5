# SPDX-License-Identifier: GPL-2.0-or-later
"""Completion and manual page as the build has written them: complete, and understood by the programs that read them."""

import json
import os
import re
import subprocess
import tempfile
import unittest

DOCS = os.environ["TESL_CONTROL_DOCS"]
TASK_LIST = "    Id  Name\n     2  Scan\n   100  [evil] $(touch pwned)\n"

# What bash does before it calls the function of a program.
BASH = """
source "$1"; shift
COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); COMPREPLY=()
compopt() { :; }
_tesl_control tesl-control "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD-1]}"
printf '%s\\0' "${COMPREPLY[@]}"
"""
# The completion system is replaced by functions that tell what they were called with.
ZSH = """
compadd() { print -r -- compadd "$@" }
_arguments() { print -r -- _arguments; print -rl -- "$@" }
_describe() { print -rl -- "${(P@)argv[-1]}" }
file=$1; shift
words=("$@"); CURRENT=$#
source $file
"""


class Docs(unittest.TestCase):
    def setUp(self):
        with open(os.path.join(DOCS, "commands.json"), encoding="utf-8") as file:
            self.table = json.load(file)
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        program = os.path.join(self.folder.name, "tesl-control")
        with open(program, "w", encoding="utf-8") as file:
            file.write(f"#!/bin/sh\ncat <<'END'\n{TASK_LIST}END\n")
        os.chmod(program, 0o755)

    def path(self, name):
        return os.path.join(DOCS, name)

    def run_shell(self, *arguments):
        environment = dict(os.environ, PATH=f"{self.folder.name}:{os.environ['PATH']}")
        done = subprocess.run(arguments, cwd=self.folder.name, env=environment, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, timeout=30, check=False)
        self.assertEqual((done.returncode, done.stderr), (0, b""), arguments)
        return done.stdout.decode()

    def complete(self, *words):
        """What bash offers for the last word."""
        told = self.run_shell("bash", "-c", BASH, "bash", self.path("tesl-control"), "tesl-control", *words)
        return {word for word in told.split("\0") if word}

    def zsh(self, *words):
        return self.run_shell("zsh", "-f", "-c", ZSH, "zsh", self.path("_tesl-control"), "tesl-control", *words)

    def options_of(self, command):
        return {option["name"] for option in command["options"]} | {"--help"}

    def test_all_commands_are_in_all_three(self):
        commands = {command["option"] for command in self.table["commands"]}
        self.assertGreater(len(commands), 20)
        self.assertEqual(self.complete("--"), commands | {"--json"})
        offered = self.zsh("")
        with open(self.path("tesl-control.1"), encoding="utf-8") as file:
            manual = file.read().replace("\\-", "-")
        for command in commands:
            self.assertIn(f"\n{command}:", "\n" + offered)
            self.assertIn(f"\n.B {command}", manual)

    def test_each_command_has_its_options_and_no_other(self):
        with open(self.path("tesl-control.1"), encoding="utf-8") as file:
            manual = file.read().replace("\\-", "-")
        for command in self.table["commands"]:
            words = [command["option"]] + (["2"] if command["value"] else [])
            self.assertEqual(self.complete(*words, "--"), self.options_of(command), words)
            lines = self.zsh(*words, "--").splitlines()
            self.assertEqual(lines[0], "_arguments", words)
            named = {line.split("[")[0] for line in lines if line.startswith("--")}
            self.assertEqual(named, self.options_of(command) | {command["option"]}, words)
            for option in command["options"]:
                self.assertIn(f"\n.B {option['name']}", manual)

    def test_values_are_offered_by_their_kind(self):
        self.assertEqual(self.complete("--start-task", ""), {"2", "100"})
        self.assertEqual(self.complete("--get-statistics", "1"), {"100"})
        self.assertEqual(self.complete("--start-task", "2", "--w"), {"--wait"})
        self.assertEqual(self.complete("--set-settings", "2", "ScanAr"), {"ScanAreas=", "ScanArchived="})
        self.assertEqual(self.complete("--get-app-settings", "UseT"), {"UseTSN"})
        self.assertEqual(self.complete("--set-schedule", "6", "Rule"), {"RuleType="})
        self.assertEqual(self.complete("--event-query", "--order", ""), {"asc", "desc"})
        self.assertIn("ThreatDetected", self.complete("--wait-events", "--event-type", "Threat"))
        self.assertEqual(self.complete("--app-info", ""), set())
        self.assertFalse(os.path.exists(os.path.join(self.folder.name, "pwned")))

    def test_files_are_offered_whatever_their_names(self):
        names = {"a b", "a$(touch pwned)", "a*", "-x"}
        for name in names:
            with open(os.path.join(self.folder.name, name), "w", encoding="utf-8"):
                pass
        self.assertEqual(self.complete("--scan-file", "a"), names - {"-x"})
        self.assertEqual(self.complete("--scan-file", "--", "-"), {"-x"})
        self.assertEqual(self.complete("--create-task", "a b", "--file", "a"), names - {"-x"})
        self.assertFalse(os.path.exists(os.path.join(self.folder.name, "pwned")))

    def test_the_manual_page_is_well_formed(self):
        told = self.run_shell("groff", "-man", "-ww", "-Tutf8", "-P-c", self.path("tesl-control.1"))
        told = re.sub(".\b", "", told)  # bold is printed twice
        for heading in ("NAME", "SYNOPSIS", "COMMANDS", "EXIT STATUS"):
            self.assertIn(heading, told)
        self.assertIn("69", told)


if __name__ == "__main__":
    unittest.main()
