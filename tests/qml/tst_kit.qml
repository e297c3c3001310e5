// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtTest 1.15

import "qrc:/CommonFunctions.js" as CommonFunctions
import "qrc:/CommonProperties.js" as CommonProperties
import "qrc:/kit"
import "Finder.js" as Finder

Item {
    id: root
    width: 400
    height: 400

    QtObject {
        id: stack
        property int pops: 0
        property bool cleanedFirst: false
        function pop() {
            ++pops;
            cleanedFirst = cleaned.count === pops;
        }
    }

    TLButton { id: button; x: 20; y: 20; text: "Scan"; image: "button-reports-normal" }
    TLLabel { id: label; x: 20; y: 80; textValue: "a label"; whenClicked: () => ++root.labelClicks }
    TLExpander { id: expander; x: 20; y: 120 }
    TLPicButton { id: picture; x: 20; y: 160; source: "delete-icon"; name: "Delete" }
    TLInfoTab { id: tab; x: 20; y: 200; title: "Scan" }
    TLPageHeader { id: header; y: 340; width: 400; title: "Tasks" }
    TLButtonAsLink { id: linkButton; x: 220; y: 80; textValue: "link" }
    Component { id: busyComponent; TLBusyIndicator {} }

    property int labelClicks: 0

    SignalSpy { id: clicked; target: button; signalName: "clicked" }
    SignalSpy { id: tabClicked; target: tab; signalName: "clicked" }
    SignalSpy { id: linkClicked; target: linkButton; signalName: "clicked" }
    SignalSpy { id: cleaned; target: header; signalName: "cleanup" }

    TestCase {
        name: "Kit"
        when: windowShown

        function init() {
            button.enabled = true;
            button.invertColors = false;
            button.text = "Scan";
            tab.enabled = true;
            label.link = false;
            root.labelClicks = 0;
            clicked.clear();
            tabClicked.clear();
            // A synthetic click comes without the move that a leave would answer to.
            mouseMove(button, 5, 5);
            mouseMove(root, 399, 1);
            tryCompare(button, "state", "active");
            root.forceActiveFocus();
        }

        function test_buttonStates() {
            tryCompare(button, "state", "active");
            mouseMove(button, 5, 5);
            tryCompare(button, "state", "hovered");
            mousePress(button, 5, 5);
            compare(button.state, "pressed");
            mouseRelease(button, 5, 5);
            compare(button.state, "hovered");
            compare(clicked.count, 1);
            compare(clicked.signalArguments[0][1], button);
            button.enabled = false;
            compare(button.state, "disabled");
        }

        function test_disabledButtonIgnoresMouseAndKeys() {
            button.forceActiveFocus();
            button.enabled = false;
            mouseMove(button, 5, 5);
            mouseClick(button);
            keyClick(Qt.Key_Space);
            keyClick(Qt.Key_Return);
            compare(clicked.count, 0);
            compare(button.state, "disabled");
        }

        function test_keysPressTheButton_data() {
            return [{ tag: "Space", key: Qt.Key_Space }, { tag: "Return", key: Qt.Key_Return },
                    { tag: "Enter", key: Qt.Key_Enter }];
        }

        function test_keysPressTheButton(data) {
            button.forceActiveFocus();
            keyClick(data.key);
            compare(clicked.count, 1);
            keyClick(Qt.Key_A);
            compare(clicked.count, 1);
        }

        function ring(item) {
            for (let i = 0; i < item.children.length; ++i)
                if (item.children[i].showsFocus !== undefined)
                    return item.children[i];
            return null;
        }

        function test_focusRingIsForTheKeyboardOnly() {
            mouseClick(button);
            verify(button.activeFocus);
            verify(!ring(button).showsFocus);
            keyClick(Qt.Key_Tab);
            verify(expander.activeFocus);
            verify(ring(expander).showsFocus);
            keyClick(Qt.Key_Backtab);
            verify(ring(button).showsFocus);
        }

        function test_invertedButtonSwapsFillAndText() {
            const text = Finder.find(button, "label");
            const palette = CommonProperties;
            tryVerify(() => Qt.colorEqual(button.color, palette.TLButtonBackgroundNormal));
            button.invertColors = true;
            verify(Qt.colorEqual(button.color, palette.TLButtonTextNormal));
            verify(Qt.colorEqual(button.border.color, palette.TLButtonTextNormal));
            verify(Qt.colorEqual(text.color, palette.TLButtonBackgroundNormal));
            button.enabled = false;
            tryVerify(() => Qt.colorEqual(button.color, palette.TLButtonTextDisabled));
            tryVerify(() => Qt.colorEqual(text.color, palette.TLButtonBackgroundDisabled));
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
        }

        function test_labelIsALinkOnlyWhenItSaysSo() {
            mouseClick(label);
            compare(root.labelClicks, 0);
            verify(!label.activeFocusOnTab);
            label.link = true;
            mouseClick(label);
            compare(root.labelClicks, 1);
            label.forceActiveFocus();
            keyClick(Qt.Key_Return);
            compare(root.labelClicks, 2);
            mouseClick(linkButton);
            compare(linkClicked.count, 1);
        }

        function test_labelShowsMarkupAsText() {
            compare(label.textFormat, Text.PlainText);
        }

        function test_disabledTabIgnoresMouseAndKeys() {
            tab.forceActiveFocus();
            tab.enabled = false;
            mouseClick(tab);
            keyClick(Qt.Key_Space);
            compare(tabClicked.count, 0);
            tab.enabled = true;
            mouseClick(tab);
            compare(tabClicked.count, 1);
        }

        function test_pageHeaderCleansUpBeforeItGoesBack() {
            mouseClick(Finder.find(header, "back"));
            compare(cleaned.count, 1);
            compare(stack.pops, 1);
            verify(stack.cleanedFirst);
        }

        function test_busyIndicatorTurnsOnlyWhileRunning() {
            const busy = createTemporaryObject(busyComponent, root, { "loadtimer": 200 });
            const before = busy.angle;
            tryVerify(() => busy.angle !== before);
            busy.running = false;
            verify(!busy.visible);
        }

        function test_neededLines_data() {
            return [{ tag: "empty", value: "", max: 5, lines: 1 }, { tag: "equal", value: "12345", max: 5, lines: 1 },
                    { tag: "one more", value: "123456", max: 5, lines: 2 },
                    { tag: "exact", value: "1234567890", max: 5, lines: 2 }];
        }

        function test_neededLines(data) {
            compare(CommonFunctions.getNeededLinesCount(data.value, data.max), data.lines);
        }

        function test_stringValue() {
            compare(CommonFunctions.getStringValue(undefined), "");
            compare(CommonFunctions.getStringValue("x"), "x");
        }

        function test_childrenAreVisitedTwice() {
            const tree = { name: "a", children: [{ name: "b", children: [{ name: "c" }] }, { name: "d", children: [] }] };
            const visited = [];
            CommonFunctions.iterateChildren(tree, item => visited.push(item.name));
            compare(visited.join(""), "abccbdd");
        }

        function test_onlyColourIsMarkup_data() {
            return [
                { tag: "colour", text: "<font color='#d84342'>3 threats</font>", html: "<font color='#d84342'>3 threats</font>" },
                { tag: "image", text: "a<img src='x'>", html: "a&lt;img src='x'>" },
                { tag: "other font", text: "<font size='9'>a", html: "&lt;font size='9'>a" },
                { tag: "ampersand", text: "a &lt; b", html: "a &amp;lt; b" }
            ];
        }

        function test_onlyColourIsMarkup(data) {
            compare(CommonFunctions.colouredText(data.text), data.html);
        }
    }
}
