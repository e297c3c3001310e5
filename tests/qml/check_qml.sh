#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-or-later
# check_qml.sh QMLLINT ROOT: syntax of all QML files and scripts; every QML file and image is in its resource file.
set -u
lint=$1
root=$2
failed=0

find "$root/gui/qml" "$root/tests/qml" \( -name '*.qml' -o -name '*.js' \) -exec "$lint" {} + || failed=1

cd "$root/gui/qml" || exit 1
for file in *.qml *.js kit/*.qml; do
    grep -q "<file>$file</file>" tesl_qml.qrc || { echo "$file is missing in tesl_qml.qrc"; failed=1; }
done
cd "$root/resources/images" || exit 1
for file in *.svg; do
    grep -q "<file>$file</file>" tesl_images.qrc || { echo "$file is missing in tesl_images.qrc"; failed=1; }
done
exit $failed
