#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-2.0-or-later
# The service's unit reads without a complaint and is no more exposed than it was, and the folders that it needs are
# laid out as told.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
most_exposure=67 # tenths

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
# The program isn't installed where the check runs.
sed 's#^ExecStart=.*#ExecStart=/bin/true#' packaging/systemd/tesl-service.service >"$scratch/tesl-service.service"
complaints=$(systemd-analyze verify "$scratch/tesl-service.service" 2>&1)
printf '%s' "$complaints"
[[ -z $complaints ]]
systemd-analyze security --offline=true --no-pager --threshold="$most_exposure" "$scratch/tesl-service.service" >/dev/null

# Another owner can only be set by root.
sed "s/ root root / $(id -u) $(id -g) /" packaging/tmpfiles.d/tesl.conf >"$scratch/tesl.conf"
systemd-tmpfiles --create --root="$scratch/root" "$scratch/tesl.conf"
for folder in var/opt/tolvander/tesl/common/dumps-user var/log/tolvander/tesl-user; do
    [[ $(stat -c %a "$scratch/root/$folder") == 1777 ]]
done
[[ $(stat -c %a "$scratch/root/etc/opt/tolvander/tesl/policy.d") == 755 ]]
