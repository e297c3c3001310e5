// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Templates 2.15 as T
import tl.customFonts 1.0

import "../CommonFunctions.js" as CommonFunctions
import "../CommonProperties.js" as CommonProperties

// One value out of a list that opens below, or above where there is no room. `name` is what the value is of, for those
// who hear the window rather than see it.
T.ComboBox {
    id: root

    property string borderColor: CommonProperties.colorTransparent
    property int borderWidth: 0
    property string name: ""

    readonly property bool expanded: popup.visible
    readonly property color tone: !enabled ? CommonProperties.colorDisabledText
                                           : down ? CommonProperties.TLButtonTextPressed
                                                  : hovered ? CommonProperties.TLButtonTextHover
                                                            : CommonProperties.colorCommonGray

    // The list is as wide as its widest text.
    function widestText() {
        let widest = 0;
        for (let i = 0; i < count; ++i)
            widest = Math.max(widest, metrics.advanceWidth(textAt(i)));
        return Math.ceil(widest);
    }

    implicitWidth: CommonProperties.TLComboBoxWidth
    implicitHeight: CommonProperties.TLComboBoxHeight
    hoverEnabled: true
    leftPadding: CommonProperties.unit
    rightPadding: indicator.width + 2 * CommonProperties.unit
    font.family: RobotoFonts.robotoRegular
    font.pixelSize: CommonProperties.pixelSizeSmall

    // The template opens on Space alone. It is the release that counts: a release over the open list chooses from it.
    Keys.onReleased: {
        const opens = event.key === Qt.Key_Return || event.key === Qt.Key_Enter;
        if (!opens || event.isAutoRepeat || popup.visible)
            return;
        event.accepted = true;
        popup.open();
    }
    Accessible.role: Accessible.ComboBox
    Accessible.name: name.length > 0 ? name : displayText
    Accessible.focusable: enabled
    Accessible.focused: activeFocus
    Accessible.description: name.length > 0 ? displayText : ""
    Accessible.onPressAction: {
        if (enabled)
            popup.open();
    }

    FontMetrics {
        id: metrics
        font: root.font
    }

    background: Rectangle {
        radius: CommonProperties.cornerRadius
        color: !root.enabled ? CommonProperties.TLButtonBackgroundDisabled
                             : root.down ? CommonProperties.TLButtonBackgroundPressed
                                         : root.hovered ? CommonProperties.TLButtonBackgroundHover
                                                        : CommonProperties.colorWindowBackground
        border.color: root.enabled ? root.borderColor : CommonProperties.TLButtonBorderDisabled
        border.width: root.borderWidth

        TLFocusRing {
            visible: root.visualFocus
        }
    }

    contentItem: TLLabel {
        objectName: "label"
        verticalAlignment: Text.AlignVCenter
        textValue: root.displayText
        elide: Text.ElideRight
        lineHeight: CommonProperties.lineHeightSingle
        color: root.tone
        font.family: root.font.family
        font.weight: root.font.weight
        font.pixelSize: root.font.pixelSize
        Accessible.ignored: true
    }

    indicator: Image {
        objectName: "indicator"
        x: root.width - width - CommonProperties.unit
        y: (root.height - height) / 2
        source: CommonFunctions.imageSource("combobox-arrow" + (!root.enabled ? "-disabled"
                                                                              : root.down ? "-pressed"
                                                                                          : root.hovered ? "-hover"
                                                                                                         : ""))
        sourceSize: Qt.size(CommonProperties.TLComboBoxIndicatorWidth, CommonProperties.TLComboBoxIndicatorHeight)
    }

    delegate: TLComboBoxItem {
        width: ListView.view.width
        text: root.textAt(index)
        current: root.currentIndex === index
        highlighted: root.highlightedIndex === index
        font.pixelSize: CommonProperties.pixelSizeSmall
    }

    popup: T.Popup {
        y: root.height + CommonProperties.unit / 2
        width: Math.max(root.width, root.widestText() + CommonProperties.TLComboBoxItemReserve)
        height: Math.min(list.contentHeight + topPadding + bottomPadding, CommonProperties.TLComboBoxListMaximum)
        margins: CommonProperties.unit
        padding: CommonProperties.unit / 2

        contentItem: TLScrollableListView {
            id: list
            objectName: "list"
            model: root.delegateModel
            currentIndex: root.highlightedIndex
            highlightMoveDuration: 0
        }

        background: Rectangle {
            radius: CommonProperties.cornerRadius
            color: CommonProperties.colorWindowBackground
            border.color: CommonProperties.colorMainBorder
            border.width: CommonProperties.hairline
        }
    }
}
