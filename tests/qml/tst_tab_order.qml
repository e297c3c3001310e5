// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtTest 1.15
import tl.qt.application.taskList 1.0

import "qrc:/CommonFunctions.js" as CommonFunctions
import "Finder.js" as Finder

// Tab goes through a page as one reads it, and comes by everything that can be pressed.
TestCase {
    id: testCase
    name: "TabOrder"
    when: windowShown
    width: 10
    height: 10
    visible: true

    // Of pages that are yet to be made, so that what leads to them can be pressed.
    readonly property var laterPages: ["ProtectionState", "Reports", "Storage", "Settings", "Support", "License"]
        .filter(name => !CommonFunctions.hasPage(name))

    property var window: null
    property var stack: null

    function initTestCase() {
        laterPages.forEach(name => CommonFunctions.existingPages.push(name));
    }

    function cleanupTestCase() {
        laterPages.forEach(() => CommonFunctions.existingPages.pop());
    }

    function init() {
        serviceConnection.isConnectedToProduct = true;
        window = Qt.createComponent("qrc:/main.qml").createObject(null);
        stack = Finder.find(window.contentItem, "stack");
        window.requestActivate();
        tryCompare(window, "active", true);
        tryCompare(view(), "busy", false);
    }

    function cleanup() {
        window.destroy();
        window = stack = null;
        tryCompare(models, "appInfoCount", 0);
    }

    function view() {
        return Finder.find(stack, "stackView");
    }

    function nameOfFocus() {
        const item = window.activeFocusItem;
        return item ? item.objectName : "";
    }

    // The names of what Tab comes by, once around, from the window's first button on.
    function stops(key) {
        const names = [];
        for (let i = 0; i < 40; ++i) {
            keyClick(key);
            const name = nameOfFocus();
            if (name === "help" && names[0] === "help")
                return names;
            if (name === "help" || names.length > 0)
                names.push(name);
        }
        fail("Tab doesn't come around: " + names);
        return names;
    }

    // One way, and the same way back.
    function compareStops(wanted) {
        wanted = ["help", "hide", "close"].concat(wanted);
        compare(stops(Qt.Key_Tab).join(), wanted.join());
        compare(stops(Qt.Key_Backtab).join(), [wanted[0]].concat(wanted.slice(1).reverse()).join());
    }

    function test_mainPage() {
        models.appInfo.licenseStatus = "License is valid";
        compareStops(["statusArea", "tabScan", "tabUpdate", "buttonReports", "buttonStorage", "buttonSettings",
                      "buttonSupport", "footer"]);
    }

    function test_withoutAConnection() {
        serviceConnection.isConnectedToProduct = false;
        tryCompare(view(), "busy", false);
        compareStops([]);
    }

    function test_scanPage() {
        stack.push("ScanTasks");
        tryCompare(view(), "busy", false);
        models.taskList.setRows([
            { "taskId": 2, "currentState": TaskListModel.TaskStateStarted, "progressInfo": ["objects scanned: 1"] },
            { "taskId": 100, "cannotBeDeleted": false, "progressInfo": ["objects scanned: 1"] },
            { "taskId": 4, "canBeStarted": false }]);
        tryCompare(Finder.find(stack, "taskList"), "count", 3);
        waitForRendering(view());
        compareStops(["back", "nameButton", "mainButton", "reportButton",
                      "expander", "deleteButton", "mainButton", "reportButton", "reportButton"]);
    }
}
