#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-or-later
# Every C++ file is formatted as .clang-format says.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
git ls-files -z --cached --others --exclude-standard -- '*.cpp' '*.h' |
    xargs -0 -r -n 40 -P "$(nproc)" clang-format-14 --dry-run -Werror --style=file
