// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import QtTest 1.15
import tl.qt.application.appInfo 1.0

import "qrc:/CommonFunctions.js" as CommonFunctions
import "Finder.js" as Finder

TestCase {
    id: testCase
    name: "Shell"
    when: windowShown
    width: 10
    height: 10
    visible: true

    property var window: null
    property var stack: null
    property var view: null

    function init() {
        serviceConnection.isConnectedToProduct = true;
        serviceConnection.isCertifiedBuild = false;
        trayAvailability.available = false;
        trayAvailability.watching = false;
        const component = Qt.createComponent("qrc:/main.qml");
        compare(component.status, Component.Ready, component.errorString());
        window = component.createObject(null);
        stack = Finder.find(window.contentItem, "stack");
        view = Finder.find(stack, "stackView");
        window.requestActivate();
        tryCompare(window, "active", true);
        settle();
    }

    function cleanup() {
        window.destroy();
        window = stack = view = null;
        tryCompare(models, "appInfoCount", 0);
        tryCompare(models, "taskListCount", 0);
    }

    function settle() {
        tryCompare(view, "busy", false);
    }

    function page(name) {
        return Finder.find(view.currentItem, name);
    }

    function open(name) {
        stack.push(name);
        settle();
    }

    function test_windowHasOneFixedSize() {
        compare([window.width, window.height], [735, 540]);
        compare([window.minimumWidth, window.maximumWidth], [735, 735]);
        compare([window.minimumHeight, window.maximumHeight], [540, 540]);
        verify(window.flags & Qt.FramelessWindowHint);
    }

    function test_pushOfTheCurrentPageDoesNothing() {
        mouseClick(page("tabScan"));
        stack.push("ScanTasks");
        settle();
        compare(view.depth, 2);
        compare(stack.currentItemName.join(), "MainWindow,ScanTasks");
    }

    function test_doubleClickOpensAPageOnce() {
        mouseDoubleClickSequence(page("tabScan"));
        settle();
        compare(view.depth, 2);
        compare(models.taskList.scanTasksMode, true);
    }

    function test_updateTabOpensTheUpdateTasks() {
        mouseClick(page("tabUpdate"));
        settle();
        compare(stack.getCurrentItemName(), "UpdateTasks");
        compare(models.taskList.scanTasksMode, false);
    }

    function test_namesOfTheStack() {
        open("ScanTasks");
        compare(stack.getItemName(0), "ScanTasks");
        compare(stack.getItemName(1), "MainWindow");
        compare(stack.getItemName(2), null);
        compare(stack.getItemName(-1), null);
    }

    function test_lastPageStays() {
        stack.pop();
        compare(view.depth, 1);
        compare(stack.getCurrentItemName(), "MainWindow");
    }

    function test_pageThatDoesNotExistIsNotPushed() {
        stack.push("NoSuchPage");
        compare(view.depth, 1);
        compare(stack.getCurrentItemName(), "MainWindow");
    }

    function test_everyPageThatIsListedLoads() {
        for (const name of CommonFunctions.existingPages) {
            const component = Qt.createComponent("qrc:/" + name + ".qml");
            compare(component.status, Component.Ready, component.errorString());
        }
    }

    function test_escapeAndBackButtonGoBack() {
        open("ScanTasks");
        keyClick(Qt.Key_Escape);
        settle();
        compare(view.depth, 1);
        keyClick(Qt.Key_Escape);
        compare(view.depth, 1);
        open("ScanTasks");
        mouseClick(page("back"));
        settle();
        compare(stack.currentItemName.join(), "MainWindow");
    }

    function test_connectionChangeEmptiesTheStackInBothDirections() {
        open("ScanTasks");
        compare(models.taskListCount, 1);
        serviceConnection.isConnectedToProduct = false;
        compare(stack.currentItemName.join(), "NoConnection");
        compare(view.depth, 1);
        tryCompare(models, "taskListCount", 0);
        tryCompare(models, "appInfoCount", 1);
        serviceConnection.isConnectedToProduct = true;
        compare(stack.currentItemName.join(), "MainWindow");
        compare(view.depth, 1);
        tryCompare(models, "appInfoCount", 1);
    }

    function test_noConnectionPageOffersNothing() {
        serviceConnection.isConnectedToProduct = false;
        const area = page("statusArea");
        compare(area.text, serviceConnection.appIsUnavailableText);
        compare(area.state, "Critical");
        serviceConnection.isCertifiedBuild = true;
        compare(area.text, serviceConnection.certifiedBuildText);
        for (const name of ["tabScan", "tabUpdate", "buttonReports", "buttonStorage", "buttonSettings", "buttonSupport"])
            verify(!page(name).enabled, name);
        mouseClick(page("tabScan"));
        compare(stack.getCurrentItemName(), "NoConnection");
    }

    function test_statusFollowsTheDangerLevel_data() {
        return [{ tag: "OK", level: AppInfoModel.OK }, { tag: "Warning", level: AppInfoModel.Warning },
                { tag: "Critical", level: AppInfoModel.Critical }];
    }

    function test_statusFollowsTheDangerLevel(data) {
        models.appInfo.dangerLevel = data.level;
        models.appInfo.issuesInfo = "Verdict\n2 things";
        const area = page("statusArea");
        compare(area.state, data.tag);
        compare(area.text, "Verdict\n2 things");
        for (const level of ["OK", "Warning", "Critical"]) {
            const name = level === "OK" ? "Ok" : level;
            tryCompare(page("emblem" + name), "opacity", level === data.tag ? 1 : 0);
            tryCompare(page("emblem" + name), "scale", level === data.tag ? 1 : 1.2);
            tryCompare(page("ground" + name), "opacity", level === data.tag ? 1 : 0);
            tryCompare(page("ground" + name), "scale", level === data.tag ? 1 : 1.2);
        }
    }

    function test_tabsFollowTheirTasks() {
        models.appInfo.scanInfoAvailable = false;
        verify(!page("tabScan").enabled);
        models.appInfo.infoDatabasesIsError = true;
        compare(page("tabUpdate").errorText, models.appInfo.infoDatabasesState);
    }

    function test_customScanOpensTheScanPage() {
        window.hide();
        models.appInfo.customScanStarted(3);
        verify(window.visible);
        settle();
        compare(stack.getCurrentItemName(), "ScanTasks");
    }

    function test_customScanEndsWithAPopupUnlessItIsWatched() {
        const fabric = page("popupFabric");
        models.appInfo.customScanStopped(3, "done");
        compare(fabric.count, 1);
        open("ScanTasks");
        window.requestActivate();
        tryCompare(window, "active", true);
        models.appInfo.customScanStopped(3, "done");
        compare(fabric.count, 1);
        const other = createTemporaryQmlObject("import QtQuick.Window 2.15; Window { visible: true }", testCase);
        other.requestActivate();
        tryCompare(window, "active", false);
        models.appInfo.customScanStopped(3, "done");
        compare(fabric.count, 2);
    }

    function test_failedStartShowsThePopupOfItsTask() {
        const fabric = page("popupFabric");
        models.appInfo.taskStartFailed(1, "Task was not started");
        compare(fabric.count, 1);
    }

    function test_closeHidesTheWindow() {
        mouseClick(Finder.find(window.header, "close"));
        verify(!window.visible);
        window.openWindow();
        verify(window.visible);
    }

    function test_headerDoubleClickNeedsAResizablePage() {
        window.header.headerDoubleClick();
        verify(!window.isFullScreen);
        window.canResize = true;
        window.header.headerDoubleClick();
        verify(window.isFullScreen);
        tryCompare(window, "width", window.Screen.desktopAvailableWidth);
        open("ScanTasks");
        verify(!window.isFullScreen);
        verify(!window.canResize);
        tryCompare(window, "width", 735);
    }

    function test_fullScreenGivesThePlaceBack() {
        window.x = 40;
        window.y = 30;
        window.canResize = true;
        window.header.headerDoubleClick();
        compare([window.x, window.y, window.visibility], [0, 0, Window.Maximized]);
        window.header.headerDoubleClick();
        compare([window.x, window.y, window.visibility], [40, 30, Window.Windowed]);
    }

    function test_footerIsToldWhereItHasAText() {
        verify(page("footer").Accessible.ignored);
        models.appInfo.licenseStatus = "Licence is active";
        verify(!page("footer").Accessible.ignored);
        compare(page("footer").Accessible.name, "Licence is active");
    }

    function test_repaintsWhileItShows() {
        const timer = Finder.findResource(window, "timer");
        compare([timer.running, timer.interval], [true, 1000]);
        const other = createTemporaryQmlObject("import QtQuick.Window 2.15; Window { visible: true }", testCase);
        other.requestActivate();
        tryCompare(timer, "interval", 100);
        window.hide();
        verify(!timer.running);
    }

    function test_trayIconWaitsForATray() {
        const loader = Finder.find(window.contentItem, "trayLoader");
        tryCompare(trayAvailability, "watching", true);
        verify(!loader.item);
        trayAvailability.available = true;
        tryVerify(() => loader.item);
    }

    function test_trayIconOfAStartIntoTheTrayNeedsNoFrame() {
        trayAvailability.available = true;
        shellSetup.setTrayOnly(true);
        const quiet = Qt.createComponent("qrc:/main.qml").createObject(null);
        verify(!quiet.visible);
        verify(Finder.find(quiet.contentItem, "trayLoader").item);
        quiet.destroy();
        shellSetup.setTrayOnly(false);
        CommonFunctions.setAppWindow(window);
    }

    function test_startIntoTheTrayShowsNothing() {
        shellSetup.setTrayOnly(true);
        const quiet = Qt.createComponent("qrc:/main.qml").createObject(null);
        verify(!quiet.visible);
        compare(quiet.visibility, Window.Hidden);
        quiet.openWindow();
        verify(quiet.visible);
        quiet.destroy();
        shellSetup.setTrayOnly(false);
        CommonFunctions.setAppWindow(window);
    }

    function test_twoActivationsOfTheTrayIconOpenTheWindow() {
        trayAvailability.available = true;
        const loader = Finder.find(window.contentItem, "trayLoader");
        tryVerify(() => loader.item);
        const tray = loader.item;
        window.minimize();
        window.hide();
        tray.handleActivation();
        verify(!window.visible);
        tryCompare(tray, "wasClicked", false);
        tray.handleActivation();
        verify(!window.visible);
        tray.handleActivation();
        verify(window.visible);
        verify(!(window.flags & Qt.WindowMinimizeButtonHint));
    }
}
