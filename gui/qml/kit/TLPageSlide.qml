// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

import "../CommonProperties.js" as CommonProperties

// How a page comes and goes.
XAnimator {
    duration: CommonProperties.pageTransitionSpeed
    easing.type: Easing.OutCubic
}
