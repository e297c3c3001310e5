// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import QtTest 1.15
import tl.qt.application.protectionStateInfo 1.0

import "Finder.js" as Finder

// The protection page in the program's window.
TestCase {
    id: testCase
    name: "ProtectionState"
    when: windowShown
    width: 10
    height: 10
    visible: true

    property var window: null
    property var stack: null
    property var view: null

    readonly property var update: ({ "issueId": 1, "actionsType": ProtectionStateModel.ActionStartUpdate,
                                     "taskName": "Update", "issueTitle": "Databases are out of date" })
    readonly property var stopUpdate: ({ "issueId": 2, "actionsType": ProtectionStateModel.ActionStopUpdate,
                                         "taskName": "Update", "issueTitle": "Databases are out of date" })
    readonly property var scan: ({ "issueId": 4, "actionsType": ProtectionStateModel.ActionStartScan,
                                   "taskName": "Scan_My_Computer", "issueTitle": "Full scan was never started" })
    readonly property var storage: ({ "issueId": 6, "actionsType": ProtectionStateModel.ActionStorageLink })
    readonly property var restart: ({ "issueId": 7, "actionsType": ProtectionStateModel.ActionNone })

    function init() {
        models.setFirstIssues([]);
        serviceConnection.isConnectedToProduct = true;
        const component = Qt.createComponent("qrc:/main.qml");
        compare(component.status, Component.Ready, component.errorString());
        window = component.createObject(null);
        stack = Finder.find(window.contentItem, "stack");
        view = Finder.find(stack, "stackView");
        window.requestActivate();
        tryCompare(window, "active", true);
        tryCompare(view, "busy", false);
    }

    function cleanup() {
        window.destroy();
        window = stack = view = null;
        tryCompare(models, "protectionStateCount", 0);
    }

    function open(rows) {
        models.setFirstIssues(rows);
        mouseClick(part("statusArea"));
        tryCompare(view, "busy", false);
        compare(stack.getCurrentItemName(), "ProtectionState");
    }

    function part(name) {
        return Finder.find(view.currentItem, name);
    }

    function row(at) {
        part("issueList").forceLayout();
        return part("issueList").itemAtIndex(at);
    }

    // "<object name> of <title>" for each stop of the keyboard, once around.
    function stops() {
        const passed = [];
        for (let i = 0; i < 20; ++i) {
            keyClick(Qt.Key_Tab);
            const item = window.activeFocusItem;
            const name = item.objectName;
            if (passed.indexOf(name) >= 0)
                break;
            passed.push(name);
        }
        return passed;
    }

    function test_withoutIssuesThePageSaysSo() {
        open([]);
        verify(view.currentItem.protectionStateOk);
        verify(part("noIssues").visible);
        verify(!part("issueList").visible);
        const image = part("noIssuesImage");
        tryCompare(image, "status", Image.Ready);
        compare([image.width, image.height], [image.sourceSize.width, image.sourceSize.height]);
        compare(part("noIssuesTitle").text, "There are no issues");
        compare(part("noIssues").spacing, 24);
        compare(part("noIssues").anchors.verticalCenterOffset, -20);
        compare(part("pageHeader").title, "Protection center");
    }

    function test_issuesComeAndGoWhileThePageIsOpen() {
        open([update, scan]);
        verify(!view.currentItem.protectionStateOk);
        verify(part("issueList").visible);
        verify(!part("noIssues").visible);
        const model = models.protectionState;
        model.dropRow(1);
        verify(!view.currentItem.protectionStateOk);
        model.dropRow(0);
        verify(view.currentItem.protectionStateOk);
        verify(part("noIssues").visible);
        model.addRow(0, restart);
        verify(!view.currentItem.protectionStateOk);
        model.setRows([]);
        verify(view.currentItem.protectionStateOk);
    }

    function test_aLineStandsBetweenRows() {
        open([update, scan, restart]);
        const list = part("issueList");
        compare(list.section.property, "issueId");
        const lines = [];
        const children = list.contentItem.children;
        for (let i = 0; i < children.length; ++i) {
            if (children[i].lineMargin !== undefined && children[i].visible)
                lines.push(children[i]);
        }
        compare(lines.length, 3);
        lines.sort((a, b) => a.y - b.y);
        compare(lines.map(line => line.opacity), [0, 1, 1]);
        compare(lines.map(line => [line.height, line.lineMargin].join()), ["3,20", "3,20", "3,20"]);
        compare(row(1).y, lines[1].y + 3);
    }

    function test_theKeyboardReachesEveryControlInReadingOrder() {
        open([update, scan, storage]);
        compare(stops().filter(name => name === "back" || /Button$|Link$/.test(name)),
                ["updateButton", "startButton", "back"]);
        keyClick(Qt.Key_Escape);
        tryCompare(view, "busy", false);
        compare(stack.getCurrentItemName(), "MainWindow");
    }

    function test_theKeyboardFollowsWhatIsSeenAfterARowHasComeAbove() {
        open([scan, storage]);
        const scanButton = Finder.find(row(0), "startButton");
        scanButton.forceActiveFocus(Qt.TabFocusReason);
        models.protectionState.addRow(0, update);
        models.protectionState.addRow(0, update);
        tryVerify(() => row(0) && row(0).opacity === 1 && row(2).y > row(1).y);
        verify(scanButton.activeFocus);
        keyClick(Qt.Key_Backtab);
        verify(Finder.find(row(1), "updateButton").activeFocus, "the focus is with " + window.activeFocusItem);
        keyClick(Qt.Key_Backtab);
        verify(Finder.find(row(0), "updateButton").activeFocus, "the focus is with " + window.activeFocusItem);
        keyClick(Qt.Key_Backtab);
        verify(Finder.find(view.currentItem, "back").activeFocus, "the focus is with " + window.activeFocusItem);
    }

    // What is pressed by keyboard goes, or is disabled, under the finger; Tab leads on from there.
    function test_theKeyboardIsNotLostWithItsButton() {
        open([update, scan]);
        const model = models.protectionState;
        Finder.find(row(0), "updateButton").forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Return);
        compare(model.calls.join(), "startTask Update");
        model.addRow(1, stopUpdate);
        model.dropRow(0);
        tryVerify(() => row(0) && Finder.find(row(0), "updateButton").text === "Stop" && row(0).opacity === 1);
        tryVerify(() => window.activeFocusItem === part("issueList"));
        keyClick(Qt.Key_Tab);
        verify(Finder.find(row(0), "updateButton").activeFocus, "the focus is with " + window.activeFocusItem);
        keyClick(Qt.Key_Backtab);
        verify(Finder.find(view.currentItem, "back").activeFocus, "the focus is with " + window.activeFocusItem);

        Finder.find(row(1), "startButton").forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Space);
        compare(model.calls.join(), "startTask Update,startTask Scan_My_Computer");
        verify(!Finder.find(row(1), "startButton").enabled);
        keyClick(Qt.Key_Tab);
        verify(Finder.find(row(0), "updateButton").activeFocus, "the focus is with " + window.activeFocusItem);
        keyClick(Qt.Key_Escape);
        tryCompare(view, "busy", false);
        compare(stack.getCurrentItemName(), "MainWindow");
    }

    function test_theModelDiesWithTheConnection() {
        open([scan]);
        compare(models.protectionStateCount, 1);
        serviceConnection.isConnectedToProduct = false;
        tryCompare(models, "protectionStateCount", 0);
        compare(stack.getCurrentItemName(), "NoConnection");
    }
}
