# SPDX-License-Identifier: GPL-2.0-or-later
"""A folder that the update takes signatures from."""

import hashlib
import os
import shutil

from . import samples


class SourceFolder:
    """Holds the signatures that the product is installed with, and those of the test; the update's only source."""

    def __init__(self, product, path):
        self.path = path
        shutil.copytree(os.path.join(product.top, "shared/bases"), path)
        product.control("--set-settings", "Update", "SourceType=Custom", f"CustomSources.item_0000={path}",
                        "UseTLServersWhenUnavailable=no")

    def write(self, name, line):
        samples.write(os.path.join(self.path, name), line.encode() + b"\n")

    def add_file(self, content, threat, name="extra.hdb"):
        """A whole file becomes a threat."""
        self.write(name, f"{hashlib.md5(content).hexdigest()}:{len(content)}:{threat}")

    def add_pattern(self, pattern, threat, name="extra.ndb"):
        """Every file with these bytes in it becomes one."""
        self.write(name, f"{threat}:0:*:{pattern.hex()}")
