// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Templates 2.15 as T
import tl.customFonts 1.0

import "../CommonProperties.js" as CommonProperties

// One of several answers. The arrow keys go to the next one and choose it, round and round.
T.RadioButton {
    id: root

    property bool boldText: false

    // Those that exclude each other: the members of the group, or the siblings without one.
    function others() {
        const group = T.ButtonGroup.group;
        const items = group ? group.buttons : parent.children;
        const buttons = [];
        for (let i = 0; i < items.length; ++i) {
            const item = items[i];
            if (item === root || (item.boldText !== undefined && item.enabled && item.visible))
                buttons.push(item);
        }
        return buttons;
    }

    function choose() {
        forceActiveFocus(Qt.TabFocusReason);
        keys.press();
    }

    function step(way) {
        const buttons = others();
        const next = buttons[(buttons.indexOf(root) + way + buttons.length) % buttons.length];
        if (next !== root)
            next.choose();
    }

    implicitWidth: label.implicitWidth + CommonProperties.TLRadioButtonTextReserve
    implicitHeight: Math.max(CommonProperties.minimumHitArea, label.implicitHeight)
    hoverEnabled: true
    spacing: CommonProperties.TLCheckBoxSpacing
    font.family: boldText ? RobotoFonts.robotoMedium : RobotoFonts.robotoRegular
    font.weight: boldText ? Font.Medium : Font.Normal
    font.pixelSize: CommonProperties.pixelSizeMedium

    Keys.forwardTo: [keys]
    Keys.onUpPressed: step(-1)
    Keys.onLeftPressed: step(-1)
    Keys.onDownPressed: step(1)
    Keys.onRightPressed: step(1)
    Accessible.role: Accessible.RadioButton
    Accessible.name: text
    Accessible.focusable: enabled
    Accessible.focused: activeFocus
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.onPressAction: keys.press()
    Accessible.onToggleAction: keys.press()

    TLOptionKeys { id: keys }

    TLFocusRing { visible: root.visualFocus }

    // Stands beside the first line of a text of several.
    indicator: TLOptionIndicator {
        control: root
        y: label.y + (metrics.height - height) / 2
        family: "radio"
        mark: root.checked ? "checked" : ""
        pictureSize: Qt.size(CommonProperties.TLRadioButtonIndicatorSize, CommonProperties.TLRadioButtonIndicatorSize)
    }

    FontMetrics {
        id: metrics
        font: root.font
    }

    contentItem: Item {
        TLLabel {
            id: label
            objectName: "label"
            x: CommonProperties.TLRadioButtonIndicatorSize + root.spacing
            anchors.verticalCenter: parent.verticalCenter
            width: root.width - CommonProperties.TLRadioButtonTextReserve
            textValue: root.text
            wrapMode: Text.Wrap
            lineHeight: CommonProperties.lineHeightSingle
            color: root.enabled ? CommonProperties.colorCommonGray : CommonProperties.colorDisabledText
            font.family: root.font.family
            font.weight: root.font.weight
            font.pixelSize: root.font.pixelSize
            Accessible.ignored: true
        }
    }
}
