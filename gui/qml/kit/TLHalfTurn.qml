// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

// Half a turn of something that looks the same after it.
RotationAnimation {
    from: 180
    to: 360
    direction: RotationAnimation.Clockwise
}
