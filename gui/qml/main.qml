// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import QtQuick.Templates 2.15 as T

import "CommonFunctions.js" as CommonFunctions
import "CommonProperties.js" as CommonProperties
import "kit"

// The one window: its frame, its sizes, and the stack of pages, which every page reaches as "stack".
T.ApplicationWindow {
    id: window

    property bool isFullScreen: false
    property bool canResize: false
    property int lastX: 0
    property int lastY: 0
    property int expectedWidth: CommonProperties.mainWindowWidth
    property int expectedHeight: CommonProperties.mainWindowHeight

    function openWindow() {
        show();
        raise();
        requestActivate();
    }

    function minimize() {
        flags = flags | Qt.WindowMinimizeButtonHint;
        showMinimized();
    }

    function moveTo(left, top) {
        if (CommonFunctions.knowsItsPlace()) {
            x = left;
            y = top;
        }
    }

    function enterFullScreen() {
        if (CommonFunctions.knowsItsPlace()) {
            lastX = x;
            lastY = y;
        }
        isFullScreen = true;
        moveTo(0, 0);
        visibility = Window.Maximized;
    }

    function leaveFullScreen() {
        isFullScreen = false;
        visibility = Window.Windowed;
        moveTo(lastX, lastY);
    }

    visible: !isTrayOnly
    visibility: isTrayOnly ? Window.Hidden : Window.Windowed
    flags: Qt.Window | Qt.FramelessWindowHint
    title: Qt.application.name
    color: CommonProperties.colorWindowBackground

    // The window can't be resized by hand: all four limits are one size.
    maximumWidth: isFullScreen ? Screen.desktopAvailableWidth : expectedWidth
    maximumHeight: isFullScreen ? Screen.desktopAvailableHeight : expectedHeight
    minimumWidth: maximumWidth
    minimumHeight: maximumHeight
    width: maximumWidth
    height: maximumHeight

    Behavior on maximumWidth {
        NumberAnimation { duration: CommonProperties.windowResizeSpeed; easing.type: Easing.OutCubic }
    }
    Behavior on maximumHeight {
        NumberAnimation { duration: CommonProperties.windowResizeSpeed; easing.type: Easing.OutCubic }
    }

    Component.onCompleted: CommonFunctions.setAppWindow(window)

    header: TLWindowHeader {
        objectName: "windowHeader"
        windowToMove: window
        minimizeAction: () => window.minimize()
        exitAction: () => window.hide()
        onHeaderDoubleClick: {
            if (!window.canResize)
                return;
            if (window.isFullScreen)
                window.leaveFullScreen();
            else
                window.enterFullScreen();
        }
    }

    Item {
        id: stack
        objectName: "stack"

        property var currentItemName: []

        function hasPage(page) {
            return CommonFunctions.hasPage(page);
        }

        function push(page) {
            pushWithParams(page, {});
        }

        function pushWithParams(page, params) {
            if (page === getCurrentItemName() || !hasPage(page))
                return;
            currentItemName.push(page);
            stackView.push("qrc:/" + page + ".qml", params);
        }

        // The first page stays: there is nothing behind it.
        function pop() {
            if (currentItemName.length < 2)
                return;
            currentItemName.pop();
            stackView.pop();
        }

        function getCurrentItemName() {
            return currentItemName[currentItemName.length - 1];
        }

        function getItemName(id) {
            return id >= 0 && id < currentItemName.length ? currentItemName[currentItemName.length - 1 - id] : null;
        }

        function resetStackState() {
            currentItemName = [];
            stackView.clear();
            push(serviceConnection.isConnectedToProduct ? "MainWindow" : "NoConnection");
        }

        anchors.fill: parent

        T.StackView {
            id: stackView
            objectName: "stackView"

            readonly property int direction: mirrored ? -1 : 1

            anchors.fill: parent
            focus: true
            clip: true

            pushEnter: Transition { TLPageSlide { from: stackView.direction * stackView.width; to: 0 } }
            pushExit: Transition { TLPageSlide { from: 0; to: -stackView.direction * stackView.width } }
            popEnter: Transition { TLPageSlide { from: -stackView.direction * stackView.width; to: 0 } }
            popExit: Transition { TLPageSlide { from: 0; to: stackView.direction * stackView.width } }
            replaceEnter: Transition { TLPageSlide { from: stackView.direction * stackView.width; to: 0 } }
            replaceExit: Transition { TLPageSlide { from: 0; to: -stackView.direction * stackView.width } }

            Component.onCompleted: stack.resetStackState()

            onCurrentItemChanged: {
                const page = currentItem;
                if (!page)
                    return;
                window.canResize = page.isResizable === true;
                if (window.isFullScreen && !window.canResize)
                    window.leaveFullScreen();
                window.expectedHeight = page.desirableWindowHeight || CommonProperties.mainWindowHeight;
                window.expectedWidth = page.desirableWindowWidth || CommonProperties.mainWindowWidth;
            }
        }
    }

    // Above header and pages alike.
    TLWindowFrame { parent: window.header.parent }

    Shortcut {
        sequences: [StandardKey.Cancel, StandardKey.Back]
        onActivated: {
            const page = stackView.currentItem;
            if (page && page.header)
                page.header.goBack();
        }
    }

    Connections {
        target: serviceConnection
        function onIsConnectedToProductChanged() {
            stack.resetStackState();
        }
    }

    TLRepaintTimer {
        id: timer
        objectName: "timer"
        running: window.visible
        active: window.active
        items: [window.header, stack]
    }

    // The platform looks for a tray once only: the icon isn't made before there is one. Nor does the window wait for
    // it: what the icon needs is loaded, and the tray looked for, behind the first frame.
    Loader {
        id: trayLoader
        objectName: "trayLoader"

        property bool mayLoad: isTrayOnly

        function allow() {
            mayLoad = true;
        }

        function watchWhenAllowed() {
            if (mayLoad)
                trayAvailability.watch();
        }

        onMayLoadChanged: watchWhenAllowed()
        Component.onCompleted: watchWhenAllowed()

        active: mayLoad && trayAvailability.available
        source: "TrayIcon.qml"
    }

    Connections {
        target: trayLoader.mayLoad ? null : window
        function onFrameSwapped() {
            Qt.callLater(trayLoader.allow);
        }
    }

    // A window that opens out of sight, on another desktop, draws no frame.
    Timer {
        running: !trayLoader.mayLoad
        interval: CommonProperties.repaintIntervalActive
        onTriggered: trayLoader.allow()
    }
}
