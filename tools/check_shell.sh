#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-or-later
# Shell scripts are clean under shellcheck.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
mapfile -d '' -t files < <(git ls-files -z --cached --others --exclude-standard -- '*.sh' .ci/run)
shellcheck --external-sources --severity=warning "${files[@]}"
