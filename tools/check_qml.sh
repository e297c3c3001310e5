#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-or-later
# Every QML and script file parses.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
mapfile -d '' -t files < <(git ls-files -z --cached --others --exclude-standard -- '*.qml' '*.js')
((${#files[@]})) || { echo "no QML file was found" && exit 1; }
qmllint "${files[@]}"
