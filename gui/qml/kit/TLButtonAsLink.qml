// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

import "../CommonProperties.js" as CommonProperties

// A button that looks like a link; its text is the public property.
TLLabel {
    id: root

    signal clicked

    link: true
    lineHeight: CommonProperties.lineHeightSingle
    whenClicked: function () { root.clicked(); }
    Accessible.role: Accessible.Button
}
