// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Templates 2.15 as T
import tl.customFonts 1.0

import "../CommonProperties.js" as CommonProperties

// A box with a tick, or with a dash while only a part of what it stands for is ticked.
T.CheckBox {
    id: root

    // Where the text begins: what belongs to it can be lined up below.
    property alias textLeftPadding: label.leftPadding

    implicitWidth: label.implicitWidth
    implicitHeight: Math.max(CommonProperties.minimumHitArea, label.implicitHeight)
    hoverEnabled: true
    spacing: CommonProperties.TLCheckBoxSpacing
    font.family: RobotoFonts.robotoRegular
    font.pixelSize: CommonProperties.pixelSizeMedium

    Keys.forwardTo: [keys]
    Accessible.role: Accessible.CheckBox
    Accessible.name: text
    Accessible.focusable: enabled
    Accessible.focused: activeFocus
    Accessible.checkable: true
    Accessible.checked: checkState === Qt.Checked
    Accessible.checkStateMixed: checkState === Qt.PartiallyChecked
    Accessible.onPressAction: keys.press()
    Accessible.onToggleAction: keys.press()

    TLOptionKeys { id: keys }

    TLFocusRing { visible: root.visualFocus }

    indicator: TLOptionIndicator {
        control: root
        y: (root.height - height) / 2
        family: "checkbox"
        mark: root.checkState === Qt.PartiallyChecked ? "partial" : root.checkState === Qt.Checked ? "checked" : ""
        pictureSize: Qt.size(CommonProperties.TLCheckBoxIndicatorSize, CommonProperties.TLCheckBoxIndicatorSize)
    }

    contentItem: TLLabel {
        id: label
        objectName: "label"
        leftPadding: CommonProperties.TLCheckBoxIndicatorSize + root.spacing
        verticalAlignment: Text.AlignVCenter
        textValue: root.text
        elide: Text.ElideRight
        lineHeight: CommonProperties.lineHeightSingle
        color: root.enabled ? CommonProperties.colorCommonGray : CommonProperties.colorDisabledText
        font.family: root.font.family
        font.weight: root.font.weight
        font.pixelSize: root.font.pixelSize
        Accessible.ignored: true
    }
}
