# SPDX-License-Identifier: GPL-2.0-or-later
"""Makes the trees that are measured: small/ with 20,000 files of many kinds of content (about 110 MB), big/ with ten of
about 105 MB. Always the same bytes."""

import os
import random
import zipfile

SMALL_FILES = 20000
BIG_FILES = 10
BIG_SIZE = 104_800_000
WORDS = ("alpha", "river", "counter", "return", "static", "vector", "green", "table", "if", "else", "0x20", "window")


def text(source, size):
    parts = []
    length = 0
    while length < size:
        line = " ".join(source.choice(WORDS) for _ in range(source.randint(3, 14))) + "\n"
        parts.append(line)
        length += len(line)
    return "".join(parts)[:size].encode()


def markup(source, size):
    return b"<html><head><title>page</title></head><body><p>" + text(source, size).replace(b"\n", b"</p>\n<p>") + b"</p></body></html>"


def small(folder, source):
    for number in range(SMALL_FILES):
        place = os.path.join(folder, "d%03d" % (number % 200))
        os.makedirs(place, exist_ok=True)
        size = int(min(200000, source.paretovariate(0.9) * 700))
        kind = number % 10
        path = os.path.join(place, "f%05d" % number)
        if kind < 5:
            data = text(source, size)
        elif kind < 7:
            data = source.randbytes(size)
        elif kind < 8:
            data = markup(source, size)
        elif kind < 9:
            data = b"\x7fELF\x02\x01\x01" + b"\0" * 57 + source.randbytes(size)
        else:
            with zipfile.ZipFile(path + ".zip", "w", zipfile.ZIP_DEFLATED) as archive:
                archive.writestr(zipfile.ZipInfo("member.txt"), text(source, size))
            continue
        with open(path, "wb") as file:
            file.write(data)


def big(folder, source):
    os.makedirs(folder, exist_ok=True)
    for number in range(BIG_FILES):
        with open(os.path.join(folder, "big%d" % number), "wb") as file:
            for _ in range(BIG_SIZE // 1_048_000):
                kind = number % 5
                if kind < 3:
                    file.write(source.randbytes(1_048_000))
                elif kind == 3:
                    file.write(text(source, 10480) * 100)
                else:
                    file.write((b"\0" * 24 + source.randbytes(8)) * 32750)


def tiny(folder, count):
    """So many files of a few bytes each."""
    for number in range(count):
        place = os.path.join(folder, "d%04d" % (number // 500))
        if number % 500 == 0:
            os.makedirs(place)
        with open(os.path.join(place, "f%06d" % number), "wb") as file:
            file.write(b"file %d\n" % number)


def one_folder(folder, count):
    """So many empty files beside each other."""
    os.makedirs(folder)
    for number in range(count):
        os.close(os.open(os.path.join(folder, "f%07d" % number), os.O_CREAT | os.O_EXCL | os.O_WRONLY, 0o644))


def make(folder, with_big):
    """small/, and big/ where it is wanted."""
    source = random.Random(20000)
    small(os.path.join(folder, "small"), source)
    if with_big:
        big(os.path.join(folder, "big"), source)
