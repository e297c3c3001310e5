// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15

import "qrc:/CommonProperties.js" as CommonProperties
import "qrc:/kit"
import "../Finder.js" as Finder

// Every control of the kit in every state, side by side: one row a control, one column a state.
Window {
    id: window

    readonly property var states: ["rest", "hovered", "pressed", "disabled", "focused"]
    readonly property int cell: 184

    // Puts what the loader made into a state as the mouse or the keyboard would.
    function put(item, state) {
        const areas = Finder.findAll(item, "pressArea");
        if (state === "disabled")
            item.enabled = false;
        if (state === "focused") {
            // The ring is made when the hand or the keyboard first comes.
            areas.forEach(area => { camera.hover(area); camera.leave(area); });
            Finder.findAll(item, "focusRing").forEach(ring => ring.visible = true);
        }
        if (state === "hovered" || state === "pressed")
            (areas.length > 0 ? areas : [item]).forEach(area => camera.hover(area));
        if (state !== "pressed")
            return;
        areas.forEach(area => camera.press(area));
        if (item.down !== undefined)
            item.down = true;
        else if (areas.length === 0 && item.pressed !== undefined)
            item.pressed = true;
    }

    visible: true
    title: "Kit"
    color: CommonProperties.colorWindowBackground
    width: table.width + 2 * table.x
    height: table.height + 2 * table.y

    Column {
        id: table
        x: CommonProperties.contentMargin
        y: CommonProperties.gridMargin
        spacing: CommonProperties.unit

        Row {
            Repeater {
                model: [""].concat(window.states)
                TLLabel {
                    width: index === 0 ? implicitWidth + 130 : window.cell
                    textValue: modelData
                    color: CommonProperties.colorLightGray
                    font.pixelSize: CommonProperties.pixelSizeSmall
                }
            }
        }

        Repeater {
            model: [
                { name: "TLButton", made: button }, { name: "… inverted", made: filledButton },
                { name: "… with a picture", made: pictureButton }, { name: "… long text", made: longButton },
                { name: "TLToggleButton off", made: toggleOff }, { name: "TLToggleButton on", made: toggleOn },
                { name: "TLButtonAsLink", made: link }, { name: "TLPicButton", made: picture },
                { name: "TLExpander", made: expander }, { name: "… expanded", made: expanded },
                { name: "TLCheckBox", made: box }, { name: "… ticked", made: ticked },
                { name: "… in part", made: partly }, { name: "TLRadioButton", made: radio },
                { name: "… chosen, bold", made: chosen }, { name: "TLComboBox", made: combo },
                { name: "… with a border", made: framedCombo }, { name: "TLWindowHeader", made: windowHeader },
                { name: "… light", made: lightHeader }, { name: "TLPageHeader", made: pageHeader },
                { name: "TLInfoTab", made: card }, { name: "… with an error", made: errorCard },
                { name: "TLLabel, link", made: labelLink }, { name: "TLScrollBar", made: bar },
                { name: "TLComboBoxItem", made: item }, { name: "… the value now", made: currentItem }
            ]

            Row {
                readonly property var row: modelData
                height: Math.max(36, cells.height)

                TLLabel {
                    width: 130
                    anchors.verticalCenter: parent.verticalCenter
                    textValue: parent.row.name
                    elide: Text.ElideRight
                    font.pixelSize: CommonProperties.pixelSizeSmall
                }
                Row {
                    id: cells
                    anchors.verticalCenter: parent.verticalCenter
                    Repeater {
                        model: window.states
                        Item {
                            width: window.cell
                            height: loader.height
                            Loader {
                                id: loader
                                sourceComponent: row.made
                                onLoaded: Qt.callLater(() => window.put(item, modelData))
                            }
                        }
                    }
                }
            }
        }

        Row {
            spacing: CommonProperties.gridMargin
            Column {
                spacing: CommonProperties.unit
                TLProgressBar { value: 0; name: "none" }
                TLProgressBar { value: 42; name: "some" }
                TLProgressBar { value: 100; name: "all" }
                TLLineBreak { width: 300 }
            }
            TLBusyIndicator {}
            TLBusyIndicator { width: 56; borderWidth: 5 }
            TLBusyIndicator { width: 120; borderWidth: 9 }
            TLScrollableListView {
                width: 240
                height: 120
                model: 12
                delegate: TLLabel { textValue: "row " + (index + 1) }
            }
            Item {
                width: 200
                height: 40
                TLLabel { textValue: "A label in the common grey." }
                TLToolTip { text: "A tooltip of more words than go into one line, set in two."; wanted: true }
            }
        }
    }

    Component { id: button; TLButton { text: "Start" } }
    Component { id: filledButton; TLButton { text: "Start"; invertColors: true } }
    Component { id: pictureButton; TLButton {
        text: "Reports"; image: "button-reports-normal"; imageHover: "button-reports-hover"
        imagePressed: "button-reports-pressed"; imageDisabled: "button-reports-disabled" } }
    Component { id: longButton; TLButton { text: "Показать подробный отчёт" } }
    Component { id: toggleOff; TLToggleButton { textInactive: "Enable" } }
    Component { id: toggleOn; TLToggleButton { textActive: "Disable"; active: true } }
    Component { id: link; TLButtonAsLink { text: "Manage Storage" } }
    Component { id: picture; TLPicButton {
        source: "delete-icon"; sourceHover: "delete-icon-hover"; sourcePressed: "delete-icon-pressed"
        imageSize: Qt.size(CommonProperties.TaskDeleteIconSize, CommonProperties.TaskDeleteIconSize) } }
    Component { id: expander; TLExpander {} }
    Component { id: expanded; TLExpander { expanded: true } }
    Component { id: box; TLCheckBox { text: "EICAR-Test-File" } }
    Component { id: ticked; TLCheckBox { text: "EICAR-Test-File"; checked: true } }
    Component { id: partly; TLCheckBox { text: "Objects in Storage"; checkState: Qt.PartiallyChecked } }
    Component { id: radio; TLRadioButton { text: "Statistics"; autoExclusive: false } }
    Component { id: chosen; TLRadioButton { text: "Extended"; checked: true; boldText: true; autoExclusive: false } }
    Component { id: combo; TLComboBox { model: ["Day", "Week", "Month"] } }
    Component { id: framedCombo; TLComboBox {
        model: ["Month"]; borderWidth: 1; borderColor: CommonProperties.colorMainBorder; width: 128; height: 24 } }
    Component { id: windowHeader; TLWindowHeader { width: 168 } }
    Component { id: pageHeader; TLPageHeader { width: 168; title: "Tasks" } }
    Component { id: card; TLInfoTab { width: 176; title: "Scan"; infoText: "Never run"; imageSource: "tab-scan" } }
    Component { id: errorCard; TLInfoTab {
        width: 176; title: "Update"; infoText: "Never run"; errorText: "No databases"; imageSource: "tab-update" } }
    Component { id: labelLink; TLLabel { textValue: "Rollback update"; link: true } }
    Component { id: bar; TLScrollBar { height: 40; size: 0.4; position: 0.2 } }
    Component { id: item; TLComboBoxItem { width: 160; text: "Week" } }
    Component { id: currentItem; TLComboBoxItem { width: 160; text: "Month"; current: true; highlighted: true } }
    Component { id: lightHeader; TLWindowHeader { width: 168; needDarkBackground: false } }
}
