#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-or-later
# Every QML and script file parses.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
mapfile -d '' -t listed < <(git ls-files -z --cached --others --exclude-standard -- '*.qml' '*.js')
files=()
for file in "${listed[@]}"; do
    # One that was taken away stays listed until the next commit.
    [[ ! -e $file ]] || files+=("$file")
done
((${#files[@]})) || { echo "no QML file was found" && exit 1; }
qmllint "${files[@]}"
