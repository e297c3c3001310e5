// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Templates 2.15 as T

import "../CommonFunctions.js" as CommonFunctions

// The picture of a check box or a radio button, in the tone of its state. `family` is the first part of the picture's
// name, `mark` says what is in it: nothing, "checked" or "partial".
Image {
    id: root

    property T.AbstractButton control: parent
    property string family: ""
    property string mark: ""
    property size pictureSize

    readonly property string tone: control.down ? "-pressed" : control.hovered ? "-hover" : ""
    readonly property string name: control.enabled ? family + "-" + (mark || "empty") + tone
                                                   : family + "-disabled" + (mark ? "-" + mark : "")

    objectName: "indicator"
    source: CommonFunctions.imageSource(name)
    sourceSize: pictureSize
}
