#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Counts a JUnit report: prints "PASSED FAILED". What didn't run has failed. Usage: count_results.py REPORT"""

import sys
import xml.etree.ElementTree


def main():
    passed, failed = 0, 0
    for case in xml.etree.ElementTree.parse(sys.argv[1]).getroot().iter("testcase"):
        if case.get("status") == "run" and case.find("failure") is None and case.find("skipped") is None:
            passed += 1
        else:
            failed += 1
    print(passed, failed)


if __name__ == "__main__":
    main()
