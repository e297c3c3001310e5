// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtTest 1.15

import "qrc:/kit"
import "Finder.js" as Finder

Item {
    id: root
    width: 400
    height: 400

    property int labelClicks: 0

    // What the page's head expects around it.
    QtObject {
        id: stack
        property int pops: 0
        property bool cleanedFirst: false
        function pop() {
            ++pops;
            cleanedFirst = cleaned.count === pops;
        }
    }

    TLLabel { id: label; x: 20; y: 80; textValue: "a label"; whenClicked: () => ++root.labelClicks }
    TLButtonAsLink { id: linkButton; x: 220; y: 80; text: "link" }
    TLPageHeader { id: header; y: 340; width: 400; title: "Tasks" }
    Component { id: busyComponent; TLBusyIndicator {} }
    Component { id: barComponent; TLProgressBar {} }

    SignalSpy { id: linkClicked; target: linkButton; signalName: "clicked" }
    SignalSpy { id: cleaned; target: header; signalName: "cleanup" }

    TestCase {
        name: "KitTexts"
        when: windowShown

        function init() {
            label.link = false;
            root.labelClicks = 0;
            cleaned.clear();
            stack.pops = 0;
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
            compare(Finder.find(label, "pressArea").cursorShape, Qt.PointingHandCursor);
        }

        function test_linkButtonClicks() {
            mouseClick(linkButton);
            compare(linkClicked.count, 1);
            linkButton.enabled = false;
            mouseClick(linkButton);
            compare(linkClicked.count, 1);
        }

        function test_labelShowsMarkupAsText() {
            compare(label.textFormat, Text.PlainText);
        }

        function test_pageHeaderCleansUpBeforeItGoesBack() {
            const back = Finder.find(header, "back");
            mouseClick(back);
            compare([cleaned.count, stack.pops], [1, 1]);
            verify(stack.cleanedFirst);
            back.forceActiveFocus();
            keyClick(Qt.Key_Return);
            compare([cleaned.count, stack.pops], [2, 2]);
        }

        function test_busyIndicatorTurnsOnlyWhileRunning() {
            const busy = createTemporaryObject(busyComponent, root, { "loadtimer": 200 });
            const before = busy.angle;
            tryVerify(() => busy.angle !== before);
            busy.running = false;
            verify(!busy.visible);
        }

        function test_busyIndicatorIsAsHighAsItIsWide() {
            compare(createTemporaryObject(busyComponent, root, { "width": 120, "borderWidth": 9 }).height, 120);
        }

        function test_progressBarFillsItsPart_data() {
            return [{ tag: "none", value: 0, part: 0 }, { tag: "half", value: 50, part: 0.5 },
                    { tag: "more than all", value: 250, part: 1 }];
        }

        function test_progressBarFillsItsPart(data) {
            const bar = createTemporaryObject(barComponent, root, { "value": data.value });
            const filled = Finder.find(bar, "filled");
            compare([bar.width, bar.height], [300, 16]);
            tryCompare(filled, "width", (bar.width - 2) * data.part);
        }
    }
}
