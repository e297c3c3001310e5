// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import QtQuick.Templates 2.15 as T
import tl.qt.application.protectionStateInfo 1.0

import "CommonFunctions.js" as CommonFunctions
import "CommonProperties.js" as CommonProperties
import "kit"

// What is wrong with the device, each with what would cure it.
T.Page {
    id: page

    property bool protectionStateOk: true

    Accessible.name: protectionStateModel.pageHeader

    background: Rectangle { color: CommonProperties.colorWindowBackground }

    ProtectionStateModel {
        id: protectionStateModel

        function recountIssues() {
            page.protectionStateOk = rowCount() === 0;
        }

        onRowsInserted: recountIssues()
        onRowsRemoved: recountIssues()
        onModelReset: recountIssues()
        // The model has its rows from the start, before anybody hears of them.
        Component.onCompleted: recountIssues()
    }

    header: TLPageHeader {
        objectName: "pageHeader"
        title: protectionStateModel.pageHeader
    }

    Column {
        objectName: "noIssues"
        anchors.centerIn: parent
        anchors.verticalCenterOffset: CommonProperties.emptyIssuesOffset
        width: parent.width - 2 * CommonProperties.contentMargin
        spacing: CommonProperties.emptyIssuesSpacing
        visible: page.protectionStateOk

        Image {
            objectName: "noIssuesImage"
            anchors.horizontalCenter: parent.horizontalCenter
            width: sourceSize.width
            height: sourceSize.height
            sourceSize: Qt.size(CommonProperties.emptyIssuesImageSize, CommonProperties.emptyIssuesImageSize)
            source: visible ? CommonFunctions.imageSource("status-ok-green") : ""
        }

        TLLabel {
            objectName: "noIssuesTitle"
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            textValue: protectionStateModel.emptyIssuesTitle
            font.pixelSize: CommonProperties.pixelSizeEmptyStatusLarge
        }
    }

    TLScrollableListView {
        id: list
        objectName: "issueList"

        // Tab goes through rows in the order in which they were made, and an issue that is found later may stand above:
        // the rows below it are put behind it.
        function keepReadingOrder() {
            const focused = Window.activeFocusItem;
            const made = [];
            for (let i = 0; i < contentItem.children.length; ++i)
                made.push(contentItem.children[i]);
            let latest = -1;
            for (let i = 0; i < count; ++i) {
                const row = itemAtIndex(i);
                const at = made.indexOf(row);
                if (row && at < latest) {
                    row.parent = list;
                    row.parent = contentItem;
                    latest = made.length;
                } else {
                    latest = Math.max(latest, at);
                }
            }
            if (focused && focused !== Window.activeFocusItem)
                focused.forceActiveFocus(Qt.OtherFocusReason);
        }

        anchors.fill: parent
        rootItem: list
        visible: !page.protectionStateOk
        model: protectionStateModel
        section.property: "issueId"
        section.delegate: TLLineBreak {
            width: list.width
            lineMargin: CommonProperties.contentMargin
            // The line stands between rows: the first has the page's head above it.
            opacity: y > list.originY ? 1 : 0
        }
        delegate: ProtectionIssueDelegate {
            width: list.width
            issueModel: protectionStateModel
        }

        Connections {
            target: list.contentItem
            function onChildrenChanged() {
                Qt.callLater(list.keepReadingOrder);
            }
        }
    }
}
