// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtTest 1.15

import "qrc:/CommonProperties.js" as CommonProperties
import "qrc:/kit"
import "Finder.js" as Finder

Item {
    id: root
    width: 400
    height: 400

    TLButton { id: button; x: 20; y: 20; text: "Scan"; image: "button-reports-normal" }
    TLExpander { id: expander; x: 20; y: 120; onClicked: expanded = !expanded }
    TLPicButton { id: picture; x: 20; y: 160; source: "delete-icon"; name: "Delete" }
    TLInfoTab { id: tab; x: 20; y: 200; title: "Scan" }
    TLToggleButton { id: toggle; x: 220; y: 20 }

    SignalSpy { id: clicked; target: button; signalName: "clicked" }
    SignalSpy { id: expanderClicked; target: expander; signalName: "clicked" }
    SignalSpy { id: expanderToggled; target: expander; signalName: "toggled" }
    SignalSpy { id: pictureClicked; target: picture; signalName: "clicked" }
    SignalSpy { id: tabClicked; target: tab; signalName: "clicked" }
    SignalSpy { id: toggled; target: toggle; signalName: "toggled" }

    TestCase {
        name: "KitButtons"
        when: windowShown

        readonly property var spies: [clicked, expanderClicked, expanderToggled, pictureClicked, tabClicked, toggled]

        function init() {
            for (const item of [button, expander, picture, tab, toggle])
                item.enabled = true;
            button.invertColors = false;
            button.text = "Scan";
            expander.expanded = false;
            toggle.active = false;
            spies.forEach(spy => spy.clear());
            // A synthetic click comes without the move that a leave would answer to.
            mouseMove(button, 5, 5);
            mouseMove(root, 399, 1);
            tryCompare(button, "state", "active");
            root.forceActiveFocus();
        }

        function everyButton() {
            return [{ tag: "TLButton", item: button, spy: clicked },
                    { tag: "TLExpander", item: expander, spy: expanderClicked },
                    { tag: "TLPicButton", item: picture, spy: pictureClicked },
                    { tag: "TLInfoTab", item: tab, spy: tabClicked },
                    { tag: "TLToggleButton", item: toggle, spy: toggled }];
        }

        function test_pressedByMouseAndByKeys_data() {
            return everyButton();
        }

        function test_pressedByMouseAndByKeys(data) {
            mouseClick(data.item);
            compare(data.spy.count, 1);
            data.item.forceActiveFocus();
            [Qt.Key_Space, Qt.Key_Return, Qt.Key_Enter].forEach(key => keyClick(key));
            compare(data.spy.count, 4);
            keyClick(Qt.Key_A);
            compare(data.spy.count, 4);
        }

        function test_disabledIgnoresMouseAndKeys_data() {
            return everyButton();
        }

        function test_disabledIgnoresMouseAndKeys(data) {
            data.item.forceActiveFocus();
            data.item.enabled = false;
            mouseMove(data.item, 5, 5);
            mouseClick(data.item);
            keyClick(Qt.Key_Space);
            keyClick(Qt.Key_Return);
            compare(data.spy.count, 0);
        }

        function test_statesInOrder_data() {
            return [{ tag: "TLButton", item: button, disabled: "disabled" },
                    { tag: "TLInfoTab", item: tab, disabled: "disabled" },
                    { tag: "TLExpander", item: expander, disabled: "active" }];
        }

        function test_statesInOrder(data) {
            const item = data.item;
            mouseMove(item, 5, 5);
            mouseMove(root, 399, 1);
            tryCompare(item, "state", "active");
            mouseMove(item, 5, 5);
            tryCompare(item, "state", "hovered");
            mousePress(item, 5, 5);
            compare(item.state, "pressed");
            mouseMove(item, -5, -5);
            tryCompare(item, "state", "active");
            mouseMove(item, 5, 5);
            tryCompare(item, "state", "pressed");
            mouseRelease(item, 5, 5);
            compare(item.state, "hovered");
            item.enabled = false;
            tryCompare(item, "state", data.disabled);
        }

        function test_clickTellsWhoWasClicked() {
            mouseClick(button);
            compare(clicked.signalArguments[0][1], button);
        }

        function palette(tone) {
            const values = {};
            for (const part of ["Background", "Border", "Text"])
                values[part] = CommonProperties["TLButton" + part + tone];
            return values;
        }

        function test_coloursOfEachState_data() {
            const rows = [];
            for (const tone of ["Normal", "Hover", "Pressed", "Disabled"])
                for (const inverted of [false, true])
                    rows.push({ tag: tone + (inverted ? " inverted" : ""), tone: tone, inverted: inverted });
            return rows;
        }

        function test_coloursOfEachState(data) {
            const colours = palette(data.tone);
            const fill = data.inverted ? colours.Text : colours.Background;
            const border = data.inverted ? colours.Text : colours.Border;
            const text = data.inverted ? colours.Background : colours.Text;
            button.invertColors = data.inverted;
            if (data.tone === "Hover" || data.tone === "Pressed")
                mouseMove(button, 5, 5);
            if (data.tone === "Pressed")
                mousePress(button, 5, 5);
            button.enabled = data.tone !== "Disabled";
            tryVerify(() => Qt.colorEqual(button.color, fill));
            tryVerify(() => Qt.colorEqual(button.border.color, border));
            tryVerify(() => Qt.colorEqual(Finder.find(button, "label").color, text));
            if (data.tone === "Pressed")
                mouseRelease(button, 5, 5);
        }

        function test_focusRingIsForTheKeyboardOnly() {
            const ring = item => Finder.find(item, "focusRing").visible;
            mouseClick(button);
            verify(button.activeFocus);
            verify(!ring(button));
            keyClick(Qt.Key_Tab);
            verify(expander.activeFocus);
            verify(ring(expander));
            keyClick(Qt.Key_Backtab);
            verify(ring(button));
        }

        function test_buttonWithoutTextCentresItsIcon() {
            const content = Finder.find(button, "content");
            const icon = Finder.find(button, "icon");
            compare(content.spacing, 4);
            button.text = "";
            compare(content.spacing, 0);
            tryCompare(content, "width", icon.width);
            compare(content.x + icon.width / 2, button.width / 2);
        }

        function test_longButtonTextIsCut() {
            const text = Finder.find(button, "label");
            button.text = "Очень длинная подпись на кнопке, которая не помещается";
            verify(text.truncated);
            verify(Finder.find(button, "content").width <= button.width - 8);
            verify(button.wantedWidth > button.width);
        }

        function test_toggleAsksAndLeavesItsStateToWhoAnswers() {
            compare(toggle.text, "Inactive");
            mouseClick(toggle);
            compare(toggled.signalArguments[0][0], true);
            verify(!toggle.active);
            toggle.active = true;
            compare(toggle.text, "Active");
            mouseClick(toggle);
            compare(toggled.signalArguments[1][0], false);
        }

        function test_expanderTurnsWhenItIsOpened() {
            mouseClick(expander);
            compare(expanderToggled.count, 1);
            tryCompare(Finder.find(expander, "icon"), "rotation", 180);
        }
    }
}
