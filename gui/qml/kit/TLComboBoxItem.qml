// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Templates 2.15 as T
import tl.customFonts 1.0

import "../CommonProperties.js" as CommonProperties

// A row of a combo box's list.
T.MenuItem {
    id: root

    // Whether it is the value that counts now.
    property bool current: false

    implicitHeight: CommonProperties.TLComboBoxItemHeight
    leftPadding: CommonProperties.unit
    rightPadding: CommonProperties.unit
    hoverEnabled: true
    font.family: current ? RobotoFonts.robotoMedium : RobotoFonts.robotoRegular
    font.weight: current ? Font.Medium : Font.Normal
    font.pixelSize: CommonProperties.pixelSizeSmall

    Accessible.selectable: true
    Accessible.selected: current

    contentItem: TLLabel {
        verticalAlignment: Text.AlignVCenter
        textValue: root.text
        elide: Text.ElideRight
        lineHeight: CommonProperties.lineHeightSingle
        color: root.current ? CommonProperties.colorControlDarkGreen : CommonProperties.colorCommonGray
        font.family: root.font.family
        font.weight: root.font.weight
        font.pixelSize: root.font.pixelSize
        Accessible.ignored: true
    }

    background: Rectangle {
        radius: CommonProperties.cornerRadius / 2
        color: root.down ? CommonProperties.TLButtonBackgroundPressed
                         : root.highlighted ? CommonProperties.TLComboBoxItemHighlight
                                            : CommonProperties.colorTransparent
    }
}
