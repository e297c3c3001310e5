// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15
import QtQuick.Templates 2.15 as T
import tl.qt.application.taskList 1.0

import "CommonFunctions.js" as CommonFunctions
import "CommonProperties.js" as CommonProperties
import "kit"

// A page of tasks; whether of scans or of updates is said by the page that is this.
T.Page {
    id: page

    readonly property alias tasks: taskListModel

    Accessible.name: taskListModel.pageHeader

    background: Rectangle { color: CommonProperties.colorWindowBackground }

    TaskListModel { id: taskListModel }

    header: TLPageHeader {
        objectName: "pageHeader"
        title: taskListModel.pageHeader
    }

    TLScrollableListView {
        id: list
        objectName: "taskList"
        anchors.fill: parent
        rootItem: list
        model: taskListModel
        section.property: "taskId"
        section.delegate: TLLineBreak {
            width: list.width
            lineMargin: CommonProperties.contentMargin
            // The line stands between rows: the first has the page's head above it.
            opacity: y > list.originY ? 1 : 0
        }
        delegate: TaskDelegate {
            width: list.width
            taskModel: taskListModel
        }
    }

    Image {
        objectName: "emptyImage"
        anchors.centerIn: parent
        anchors.verticalCenterOffset: -CommonProperties.contentMargin
        sourceSize: Qt.size(CommonProperties.emptyListImageSize, CommonProperties.emptyListImageSize)
        source: visible ? CommonFunctions.imageSource("tasks-empty") : ""
        visible: list.count === 0 && emptyTimer.waited
    }

    // A list that is about to be filled isn't shown as empty first.
    Timer {
        id: emptyTimer
        property bool waited: false
        interval: CommonProperties.emptyListDelay
        running: true
        onTriggered: waited = true
    }
}
