# SPDX-License-Identifier: GPL-2.0-or-later
"""Files to scan, made at run time."""

import os
import zipfile


def test_file():
    """The standard anti-malware test file, put together here so that no file of the project holds it."""
    return rb"X5O!P%@AP[4\PZX54(P^)7CC)7}$EICAR-STAND" + rb"ARD-ANTIVIRUS-TEST-FILE!$H+H*"


def write(path, content):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(content)
    return path


def write_zip(path, members):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, content in members.items():
            archive.writestr(name, content)
    return path


def write_large(folder, count, megabytes):
    """Files that keep the scanner busy: their content has no short description."""
    block = os.urandom(1 << 20)
    for i in range(count):
        write(os.path.join(folder, f"large-{i:03}.bin"), i.to_bytes(4, "big") + block * megabytes)
