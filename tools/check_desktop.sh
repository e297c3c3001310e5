#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-or-later
# Desktop entries keep the desktop's rules.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
desktop-file-validate --no-hints packaging/*.desktop
